#include "plugin/image_list.h"
#include "plugin/lacewright.h"

int32_t resetImages(const ScriptValue* /*arguments*/, int32_t count, ScriptValue* result) {
  clear_result(result);
  if (count != 0) return status_argument_count;
  ClearImages();
  set_result(result, script_boolean, 1);
  return status_ok;
}
