// The script function that runs the engine on the image list and answers
// with the report text.
#include "pipeline/transformation_type.h"
#include "plugin/align_image_list.h"
#include "plugin/alignment_report.h"
#include "plugin/image_list.h"
#include "plugin/lacewright.h"

namespace {
// The answer stays here until the next call: the script engine reads it
// after alignImages has returned.
char alignResultText[report_capacity];
}  // namespace

int32_t align_image_list(int32_t requested_type, MultiViewParams& params, std::span<char> report) {
  params.requested_type = requested_type;
  params.estimate_distortion = false;
  params.reserved_code = -1;
  MultiViewAlignMain(&params, &imageList);

  // The bound is checked after the work, so that a list too long for the
  // report is aligned for nothing; the images stay for another try.
  if (!report_admits(imageList.size())) return status_no_memory;
  if (!write_alignment_report(params, imageList, report)) return status_no_memory;
  ClearImages();
  return status_ok;
}

int32_t alignImages(const ScriptValue* arguments, int32_t count, ScriptValue* result) {
  clear_result(result);
  if (count > 1) return status_argument_count;
  int32_t requested_type = transform_cylindrical;
  if (count == 1) {
    if (arguments[0].type != script_int32) return status_argument_type;
    requested_type = low_int32(arguments[0]);
  }
  if (imageList.size() < 2) return status_too_few_images;

  MultiViewParams params;
  const int32_t status = align_image_list(requested_type, params, alignResultText);
  if (status == status_ok) set_result(result, script_source, reinterpret_cast<uintptr_t>(alignResultText));
  return status;
}
