#include "BodyDrawing.h"

#include "DrawingGeometry.h"
#include "GLObjectPainter.h"
#include "GluQuadric.h"
#include "SetColour.h"

#include <model/abcBody.h>
#include <model/abcLine.h>
#include <model/abcMarker.h>

#include <GL/gl.h>

namespace {

// Along +Z of the current modelview matrix.
void drawArrow(GluQuadric &quadric, const bsVector &origin, double length)
{
    const auto sizes = DrawingGeometry::axisSizes(length);
    quadric.cylinder(sizes.shaftRadius, sizes.shaftRadius, length, 16, 1);
    glTranslated(origin.x, origin.y, length + origin.z);
    quadric.cylinder(sizes.headRadius, 0.0, sizes.headLength, 16, 1);
}

void drawLongAxes(double reach)
{
    glEnable(GL_LINE_STIPPLE);
    glLineStipple(1, 0xF0F0);
    glDisable(GL_LIGHTING);
    glLineWidth(1.0F);
    glBegin(GL_LINES);
    glColor3d(1.0, 0.0, 0.0);
    glVertex3d(-reach, 0.0, 0.0);
    glVertex3d(reach, 0.0, 0.0);
    glColor3d(0.0, 1.0, 0.0);
    glVertex3d(0.0, -reach, 0.0);
    glVertex3d(0.0, reach, 0.0);
    glColor3d(0.0, 0.0, 1.0);
    glVertex3d(0.0, 0.0, -reach);
    glVertex3d(0.0, 0.0, reach);
    glEnd();
    glDisable(GL_LINE_STIPPLE);
}

void drawBodyGrid(const DisplayOptions &options)
{
    BodyDrawing::drawGrid(options.gridHalfExtent, options.gridHalfExtent, options.gridSpacing,
                          options.gridSpacing);
}

void drawGrids(const DisplayOptions &options)
{
    if (options.xyGrid) {
        setColour(options.xyGridColour);
        drawBodyGrid(options);
    }
    if (options.yzGrid) {
        glPushMatrix();
        setColour(options.yzGridColour);
        glRotated(90.0, 0.0, 1.0, 0.0);
        drawBodyGrid(options);
        glPopMatrix();
    }
    if (options.xzGrid) {
        glPushMatrix();
        setColour(options.xzGridColour);
        glRotated(90.0, 1.0, 0.0, 0.0);
        drawBodyGrid(options);
        glPopMatrix();
    }
}

} // namespace

namespace BodyDrawing {

void drawAxes(const bsVector &origin, double length, bool longAxes, double longAxesFactor,
              double intensity)
{
    GluQuadric quadric;
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glEnable(GL_LIGHTING);

    glColor3d(intensity, 0.0, 0.0);
    glPushMatrix();
    glRotated(90.0, 0.0, 1.0, 0.0);
    drawArrow(quadric, origin, length);
    glPopMatrix();

    glColor3d(0.0, intensity, 0.0);
    glPushMatrix();
    glRotated(-90.0, 1.0, 0.0, 0.0);
    drawArrow(quadric, origin, length);
    glPopMatrix();

    glColor3d(0.0, 0.0, intensity);
    glPushMatrix();
    drawArrow(quadric, origin, length);
    glPopMatrix();

    if (longAxes)
        drawLongAxes(length * longAxesFactor);
}

void drawGrid(double extentA, double extentB, double spacingA, double spacingB)
{
    const double halfA = DrawingGeometry::gridHalfExtent(extentA, spacingA);
    const double halfB = DrawingGeometry::gridHalfExtent(extentB, spacingB);
    const QVector<double> across = DrawingGeometry::gridPositions(extentA, spacingA);
    const QVector<double> along = DrawingGeometry::gridPositions(extentB, spacingB);

    glDisable(GL_LIGHTING);
    glLineWidth(1.0F);
    glBegin(GL_LINES);
    for (const double x : across) {
        glVertex3d(x, -halfB, 0.0);
        glVertex3d(x, halfB, 0.0);
    }
    for (const double y : along) {
        glVertex3d(-halfA, y, 0.0);
        glVertex3d(halfA, y, 0.0);
    }
    glEnd();
}

void drawBody(const abcBody &body, GLObjectPainter &painter)
{
    if (!body.isLoaded())
        return;
    const DisplayOptions &options = body.options;

    glPushMatrix();
    glMultMatrixd(body.baseMatrix().m);
    glMultMatrixd(body.pendingPose().toMatrix().m);
    drawAxes(bsVector(), 25.0, options.longAxes, options.longAxesFactor, 1.0);
    drawGrids(options);
    glPopMatrix();

    for (const abcMarker *marker : body.markers())
        marker->draw(painter, options.smallMarkers, options.colouredMarkers);
    if (options.markerEmissions) {
        for (const abcMarker *marker : body.markers())
            painter.drawEmission(*marker, options.smallMarkers);
    }
    for (const abcLine *line : body.lines())
        line->draw(painter, options.smallMarkers, false);
}

} // namespace BodyDrawing
