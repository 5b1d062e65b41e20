#pragma once

struct BackendVersions;

/// True when the backend is at least version @p major.@p minor. A negative patch level other than
/// -1 (not known) counts as older. Without a record every test fails.
bool versionAtLeast(const BackendVersions *versions, int major, int minor);
