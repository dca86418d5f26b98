// Courses and the course files that hold them.
#pragma once

#include <string>

#include "geo/mat4.h"

namespace tarvel {

inline const mat4 surveyed_matrix = {{{0.7569898924, -0.1981460626, -0.6226591704, -19949.3014},
                                      {0.0679110045, 0.9716106257, -0.2266294036, -7260.9513},
                                      {0.64988799, 0.129270759, 0.748955721, -6366570.4342},
                                      {0.0, 0.0, 0.0, 1.0}}};

// Width 12 with nine decimals, three in the last column: "0.756989892" is 11 characters long.
inline const std::string surveyed_matrix_text =
    "// This transformation matrix converts from ECEF coordinates to local\n"
    "// coordinates.  The local reference frame places the origin at the center\n"
    "// of the entry gate with the z-axis pointing up and the x-axis pointing\n"
    "// along the swoop course.\n"
    "\n"
    "[ 0.756989892, -0.198146063, -0.622659170,   -19949.301]\n"
    "[ 0.067911004,  0.971610626, -0.226629404,    -7260.951]\n"
    "[ 0.649887990,  0.129270759,  0.748955721, -6366570.434]\n"
    "[ 0.000000000,  0.000000000,  0.000000000,        1.000]\n";

inline const std::string unit_rows =
    "[1, 0, 0, 0]\n"
    "[0, 1, 0, 0]\n"
    "[0, 0, 1, 0]\n"
    "[0, 0, 0, 1]\n";

}  // namespace tarvel
