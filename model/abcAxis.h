#pragma once

/// A coordinate axis; the value is the axis's column in a bsMatrix.
enum abcAxis { X = 0, Y = 1, Z = 2 };
