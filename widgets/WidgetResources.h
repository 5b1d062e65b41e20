#pragma once

/// Registers the pictures (":/red.png" and the others); a static library's resources are not there
/// before. May be called again.
void initWidgetResources();
