// The extent on the group's cylinder of an image rectangle: the range of
// phases and of heights that its pixels cover. It sizes the cylindrical
// transform's output rectangle and, with a real phase window, a whole group.
#pragma once

struct CylinderRange {
  // `rectangle` is x0, y0, x1, y1 in source pixels; `rotation` (row-major),
  // `focal` and `centre` are the camera's, as for CylinderPoint. The phase
  // of the corner (x0, y0) is moved by whole turns into [low, high]; the
  // other corners follow it around the rectangle without a jump.
  CylinderRange(const double rectangle[4], const double rotation[9], const double focal[2], const double centre[2],
                double low, double high);

  // False when the rectangle, widened by a margin, sees a pole of the
  // cylinder, where phases cover every angle and heights are unbounded. The
  // four numbers are then all 0: an empty range at phase 0 on the equator.
  bool valid = false;
  double phase_min = 0.0;
  double height_min = 0.0;
  double phase_max = 0.0;
  double height_max = 0.0;
};
