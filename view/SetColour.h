#pragma once

#include <QColor>

#include <GL/gl.h>

/// Makes the colour the current one of the current OpenGL context. Its alpha is not used.
inline void setColour(const QColor &colour)
{
    glColor3ub(static_cast<GLubyte>(colour.red()), static_cast<GLubyte>(colour.green()),
               static_cast<GLubyte>(colour.blue()));
}
