#include "plugin/image_list.h"

std::vector<AlignFrame> imageList;

void ClearImages() {
  for (AlignFrame& frame : imageList) delete[] frame.pixels;
  imageList.clear();
}
