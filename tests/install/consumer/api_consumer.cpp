// Someone else's program built against an installed Lacewright's C++
// interface: it aligns two pictures of its own and catches the failure by
// its type, thrown inside the library.
#include <lacewright/align.h>

#include <cstdio>
#include <vector>

int main() {
  std::vector<unsigned char> grey(64 * 48, 128);
  const lacewright::image_pixels pixels{grey.data(), 64, 48, 1, 8, 0, 0};
  try {
    lacewright::align({lacewright::image_input::memory("a", pixels), lacewright::image_input::memory("b", pixels)});
  } catch (const lacewright::too_few_images_error& error) {
    std::printf("the consumer aligned through Lacewright: %s\n", error.what());
    return 0;
  }
  return 1;
}
