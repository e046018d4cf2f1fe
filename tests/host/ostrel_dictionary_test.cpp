// The preference dictionary: counted handles, puts that retain, gets that
// hand out new references or copies.
#include <gtest/gtest.h>

#include "host/ostrel.h"

namespace {

TEST(OstrelDictionary, nested_dictionaries_and_strings_round_trip_and_a_put_replaces_the_value) {
  OstrelHandle outer = OstrelNewDict();
  OstrelHandle inner = OstrelNewDict();
  OstrelHandle text = OstrelNewString("/opt/verdane/plugins");
  EXPECT_EQ(ostrel_ok, OstrelPutDictString(inner, "pluginFolder", text));
  EXPECT_EQ(ostrel_ok, OstrelPutDictDict(outer, "ostrelPreferences", inner));
  // The dictionaries hold their own references now.
  OstrelRelease(text);
  OstrelRelease(inner);

  OstrelHandle found = nullptr;
  ASSERT_EQ(ostrel_ok, OstrelGetDictDict(outer, "ostrelPreferences", &found));
  char* copy = nullptr;
  ASSERT_EQ(ostrel_ok, OstrelGetDictString(found, "pluginFolder", &copy));
  EXPECT_STREQ("/opt/verdane/plugins", copy);
  OstrelFree(copy);

  // A put replaces an earlier value under the same key.
  OstrelHandle second = OstrelNewString("second");
  EXPECT_EQ(ostrel_ok, OstrelPutDictString(found, "pluginFolder", second));
  OstrelRelease(second);
  ASSERT_EQ(ostrel_ok, OstrelGetDictString(found, "pluginFolder", &copy));
  EXPECT_STREQ("second", copy);
  OstrelFree(copy);
  OstrelRelease(found);
  OstrelRelease(outer);
}

TEST(OstrelDictionary, puts_and_gets_refuse_wrong_kinds_and_missing_keys) {
  OstrelHandle dictionary = OstrelNewDict();
  OstrelHandle text = OstrelNewString("x");
  EXPECT_EQ(ostrel_bad_parameter, OstrelPutDictDict(dictionary, "key", text));
  EXPECT_EQ(ostrel_bad_parameter, OstrelPutDictString(text, "key", text));
  EXPECT_EQ(ostrel_bad_parameter, OstrelPutDictString(nullptr, "key", text));
  EXPECT_EQ(ostrel_bad_parameter, OstrelPutDictDict(dictionary, "self", dictionary));

  char* copy = reinterpret_cast<char*>(1);
  EXPECT_EQ(ostrel_not_found, OstrelGetDictString(dictionary, "missing", &copy));
  EXPECT_EQ(nullptr, copy);
  OstrelHandle found = nullptr;
  EXPECT_EQ(ostrel_ok, OstrelPutDictString(dictionary, "text", text));
  EXPECT_EQ(ostrel_not_found, OstrelGetDictDict(dictionary, "text", &found));
  OstrelRelease(text);
  OstrelRelease(dictionary);
}

}  // namespace
