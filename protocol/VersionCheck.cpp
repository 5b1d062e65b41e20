#include "VersionCheck.h"

#include <host/BackendVersions.h>

bool versionAtLeast(const BackendVersions *versions, int major, int minor)
{
    if (!versions)
        return false;
    if (versions->major != major)
        return versions->major > major;
    if (versions->minor != minor)
        return versions->minor > minor;
    return versions->patch == -1 || versions->patch >= 0;
}
