#pragma once

#include <QtGlobal>

#include <GL/glu.h>

/// A GLU quadric that draws filled surfaces and is deleted at the end of its scope.
class GluQuadric {
public:
    GluQuadric()
        : m_quadric(gluNewQuadric())
    {
        gluQuadricDrawStyle(m_quadric, GLU_FILL);
    }
    ~GluQuadric() { gluDeleteQuadric(m_quadric); }

    void sphere(double radius, int slices, int stacks)
    {
        gluSphere(m_quadric, radius, slices, stacks);
    }
    void cylinder(double base, double top, double height, int slices, int stacks)
    {
        gluCylinder(m_quadric, base, top, height, slices, stacks);
    }

private:
    Q_DISABLE_COPY(GluQuadric)
    GLUquadric *m_quadric;
};
