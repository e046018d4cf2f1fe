// Counted dictionaries and strings of the host library.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <variant>

#include "host/ostrel.h"

using ostrel_entries = std::map<std::string, OstrelHandle, std::less<>>;

struct OstrelObject {
  std::atomic<int32_t> references{1};
  std::variant<std::string, ostrel_entries> value;
};

namespace {

ostrel_entries* entries_of(OstrelHandle object) {
  return object ? std::get_if<ostrel_entries>(&object->value) : nullptr;
}

int32_t put(OstrelHandle dictionary, const char* key, OstrelHandle value) {
  ostrel_entries* entries = entries_of(dictionary);
  if (!entries || !key || !value || value == dictionary) return ostrel_bad_parameter;
  OstrelRetain(value);
  auto [slot, inserted] = entries->try_emplace(key, value);
  if (!inserted) {
    OstrelRelease(slot->second);
    slot->second = value;
  }
  return ostrel_ok;
}

OstrelHandle find(OstrelHandle dictionary, const char* key) {
  const ostrel_entries* entries = entries_of(dictionary);
  if (!entries || !key) return nullptr;
  auto found = entries->find(key);
  return found == entries->end() ? nullptr : found->second;
}

}  // namespace

OstrelHandle OstrelNewDict() { return new OstrelObject{.value = ostrel_entries{}}; }

OstrelHandle OstrelNewString(const char* text) {
  return new OstrelObject{.value = std::string(text ? text : "")};
}

void OstrelRetain(OstrelHandle object) {
  if (object) object->references.fetch_add(1, std::memory_order_relaxed);
}

void OstrelRelease(OstrelHandle object) {
  if (!object || object->references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  if (ostrel_entries* entries = entries_of(object)) {
    for (auto& entry : *entries) OstrelRelease(entry.second);
  }
  delete object;
}

int32_t OstrelPutDictString(OstrelHandle dictionary, const char* key, OstrelHandle string) {
  if (string && !std::holds_alternative<std::string>(string->value)) return ostrel_bad_parameter;
  return put(dictionary, key, string);
}

int32_t OstrelPutDictDict(OstrelHandle dictionary, const char* key, OstrelHandle value) {
  if (!entries_of(value)) return ostrel_bad_parameter;
  return put(dictionary, key, value);
}

int32_t OstrelGetDictDict(OstrelHandle dictionary, const char* key, OstrelHandle* value) {
  if (!value) return ostrel_bad_parameter;
  *value = nullptr;
  OstrelHandle found = find(dictionary, key);
  if (!entries_of(found)) return ostrel_not_found;
  OstrelRetain(found);
  *value = found;
  return ostrel_ok;
}

int32_t OstrelGetDictString(OstrelHandle dictionary, const char* key, char** text) {
  if (!text) return ostrel_bad_parameter;
  *text = nullptr;
  OstrelHandle found = find(dictionary, key);
  const std::string* string = found ? std::get_if<std::string>(&found->value) : nullptr;
  if (!string) return ostrel_not_found;
  *text = static_cast<char*>(std::malloc(string->size() + 1));
  if (!*text) return ostrel_bad_parameter;
  std::memcpy(*text, string->c_str(), string->size() + 1);
  return ostrel_ok;
}

void OstrelFree(void* memory) { std::free(memory); }
