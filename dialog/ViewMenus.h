#pragma once

class BodyAdjustmentDialog;
class BodyTable;
class GLCanvas;

/// What the view shows besides the markers.
struct DisplayFlags {
    bool smallMarkers = false;
    bool colouredMarkers = true;
    bool longAxes = false;
    bool showCog = false;
    bool showXy = true;
    bool showYz = false;
    bool showXz = false;
    bool showRoomOrientation = false;
    bool markerEmissions = true;
};

/// Makes the context menus of the 3D view and of the data view and hands them over. The menus
/// belong to the views, their actions to the dialog.
void createViewMenus(BodyAdjustmentDialog *dialog, GLCanvas *canvas, BodyTable *table,
                     const DisplayFlags &flags);
/// Makes the canvas show what the flags say.
void handOverDisplayFlags(GLCanvas *canvas, const DisplayFlags &flags);
