#include "GLObjectPainter.h"

#include "DrawingGeometry.h"
#include "GluQuadric.h"
#include "SetColour.h"

#include <model/abcLine.h>
#include <model/abcMarker.h>

#include <QColor>

#include <GL/gl.h>

#include <cmath>

namespace {

double markerRadius(const abcMarker &marker, bool small)
{
    return small ? marker.record.smallRadius : marker.record.radius;
}

double lineWidth(const abcLine &line, bool small)
{
    return small ? line.smallWidth : line.width;
}

void placeSphere(GluQuadric &quadric, const bsVector &centre, double radius, int divisions)
{
    glPushMatrix();
    glTranslated(centre.x, centre.y, centre.z);
    glRotated(90.0, 1.0, 0.0, 0.0);
    quadric.sphere(radius, divisions, divisions);
    glPopMatrix();
}

void placePrism(const abcLine &line, double width)
{
    glPushMatrix();
    glMultMatrixd(line.pose.toMatrix().m);
    glBegin(GL_QUADS);
    const auto faces = DrawingGeometry::linePrism(line.firstMarker()->position(),
                                                  line.secondMarker()->position(), width);
    for (const DrawingGeometry::PrismFace &face : faces) {
        glNormal3d(face.normal.x, face.normal.y, face.normal.z);
        for (const bsVector &corner : face.corners)
            glVertex3d(corner.x, corner.y, corner.z);
    }
    glEnd();
    glPopMatrix();
}

void beginOutline()
{
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glDisable(GL_LIGHTING);
    glLineWidth(1.0F);
}

void endOutline()
{
    glEnable(GL_LIGHTING);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
}

bool isDrawable(const Emission &emission)
{
    const bool known = emission.x != 0.0 || emission.y != 0.0 || emission.z != 0.0;
    return known && isFinite(emission.direction()) && std::isfinite(emission.angleDeg);
}

} // namespace

void GLObjectPainter::drawMarker(const abcMarker &marker, bool small, bool coloured)
{
    setColour(coloured ? marker.colour : QColor(255, 255, 255));
    GluQuadric quadric;
    glEnable(GL_LIGHTING);
    placeSphere(quadric, marker.position(), markerRadius(marker, small), 16);
}

void GLObjectPainter::highlightMarker(const abcMarker &marker, bool small)
{
    beginOutline();
    GluQuadric quadric;
    placeSphere(quadric, marker.position(), markerRadius(marker, small) * 1.2, 8);
    endOutline();
}

void GLObjectPainter::pickDrawMarker(const abcMarker &marker, bool small)
{
    GluQuadric quadric;
    placeSphere(quadric, marker.position(), markerRadius(marker, small), 16);
}

void GLObjectPainter::drawLine(const abcLine &line, bool small)
{
    setColour(line.colour);
    placePrism(line, lineWidth(line, small));
}

void GLObjectPainter::highlightLine(const abcLine &line, bool small)
{
    beginOutline();
    placePrism(line, lineWidth(line, small) * 1.4);
    endOutline();
}

void GLObjectPainter::pickDrawLine(const abcLine &line, bool small)
{
    placePrism(line, lineWidth(line, small));
}

void GLObjectPainter::drawEmission(const abcMarker &marker, bool small)
{
    const Emission &emission = marker.record.emission;
    if (!isDrawable(emission))
        return;

    GluQuadric quadric;
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glEnable(GL_LIGHTING);

    const bsVector &position = marker.position();
    const auto rotation = DrawingGeometry::rotationFromZ(emission.direction());
    const auto pushAtMarker = [&] {
        glColor3d(1.0, 1.0, 1.0);
        glPushMatrix();
        glTranslated(position.x, position.y, position.z);
        glRotated(rotation.angleDeg, rotation.axis.x, rotation.axis.y, rotation.axis.z);
    };

    const double arrowLength = DrawingGeometry::emissionArrowLength(small);
    pushAtMarker();
    quadric.cylinder(0.3125, 0.3125, arrowLength, 14, 1);
    glTranslated(0.0, 0.0, arrowLength);
    quadric.cylinder(2.5, 0.0, 5.0, 14, 1);
    glPopMatrix();

    const auto cone = DrawingGeometry::emissionCone(emission.angleDeg, small);
    pushAtMarker();
    if (cone.backward) {
        glTranslated(0.0, 0.0, -cone.height);
        quadric.cylinder(cone.radius, 0.0, cone.height, 20, 20);
    } else {
        quadric.cylinder(0.0, cone.radius, cone.height, 20, 20);
    }
    glPopMatrix();
}
