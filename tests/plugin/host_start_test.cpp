// Start and end of the host library: the handshake, the folder text, the
// start mode and session, and the preferences handed to the host.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/hexlet.h"
#include "host/ostrel.h"
#include "host/ostrel_exception.h"
#include "platform/host_suites.h"
#include "plugin/image_list.h"
#include "plugin/lacewright.h"
#include "plugin/verdane_library.h"
#include "script_arguments.h"

namespace {

using namespace test_support;

std::string preferred_folder() {
  OstrelHandle preferences = OstrelPreferences();
  OstrelHandle entry = nullptr;
  char* text = nullptr;
  std::string folder = "<none>";
  if (OstrelGetDictDict(preferences, "ostrelPreferences", &entry) == ostrel_ok &&
      OstrelGetDictString(entry, "pluginFolder", &text) == ostrel_ok) {
    folder = text;
  }
  OstrelFree(text);
  OstrelRelease(entry);
  OstrelRelease(preferences);
  return folder;
}

class HostStart : public testing::Test {
 protected:
  // Leave the library started, as the test program's environment expects.
  void TearDown() override {
    ClearImages();
    InitVerdaneLibrary("/test/plugins", true);
  }
};

TEST_F(HostStart, the_handshake_starts_the_library_with_a_hexlet_session) {
  const ScriptValue folder = text_argument("/opt/verdane/plug-ins");
  const char* functions = ScrivelInitialize(&folder, 1);
  ASSERT_NE(nullptr, functions);
  EXPECT_STREQ("demoString_s,addImage_uuuds,resetImages,alignImages_d,shutdown", functions);
  EXPECT_STREQ("/opt/verdane/plug-ins", pluginFolderText);
  EXPECT_EQ("/opt/verdane/plug-ins", preferred_folder());
  EXPECT_EQ(0, OstrelStartMode());
  EXPECT_EQ(HexletOrdinal5(), OstrelSession());
  EXPECT_NE(nullptr, OstrelSession());
  EXPECT_GE(host::entry(host::batch_size_entry)(), 1);
  EXPECT_EQ(1, ScrivelGetVersion());
}

TEST_F(HostStart, a_flagged_start_has_no_session_and_mode_3) {
  InitVerdaneLibrary("/elsewhere", true);
  EXPECT_EQ(3, OstrelStartMode());
  EXPECT_EQ(nullptr, OstrelSession());
  EXPECT_EQ("/elsewhere", preferred_folder());
  InitVerdaneLibrary(nullptr, true);  // no folder: the text stays
  EXPECT_STREQ("/elsewhere", pluginFolderText);
}

TEST_F(HostStart, a_refused_handshake_empties_the_folder_text_but_keeps_the_images) {
  InitVerdaneLibrary("/before", true);
  const std::vector<uint8_t> image(4, 7);
  const std::string address = hexadecimal_address(image.data());
  const ScriptValue image_arguments[5] = {unsigned_argument(2), unsigned_argument(2), unsigned_argument(2),
                                          signed_argument(0), text_argument(address.c_str())};
  ScriptValue result{};
  ASSERT_EQ(status_ok, addImage(image_arguments, 5, &result));

  const ScriptValue two[2] = {text_argument("/a"), text_argument("/b")};
  EXPECT_EQ(nullptr, ScrivelInitialize(two, 2));
  EXPECT_STREQ("", pluginFolderText);
  EXPECT_EQ(nullptr, ScrivelInitialize(two, 0));
  const ScriptValue number = signed_argument(5);
  EXPECT_EQ(nullptr, ScrivelInitialize(&number, 1));
  EXPECT_EQ(1u, imageList.size());

  const ScriptValue folder = text_argument("/again");
  EXPECT_NE(nullptr, ScrivelInitialize(&folder, 1));
  EXPECT_TRUE(imageList.empty());
}

TEST_F(HostStart, a_long_folder_text_is_cut_to_the_buffer) {
  const std::string long_folder(5000, 'p');
  InitVerdaneLibrary(long_folder.c_str(), true);
  EXPECT_EQ(std::string(plugin_folder_capacity - 1, 'p'), pluginFolderText);
}

TEST_F(HostStart, a_preference_the_host_refuses_travels_as_the_host_exception) {
  try {
    PreferenceCallback(nullptr);
    FAIL() << "no exception";
  } catch (const OstrelException& error) {
    EXPECT_EQ(ostrel_bad_parameter, error.status());
  }
}

TEST_F(HostStart, terminating_ends_the_host_library) {
  EXPECT_EQ(0, ScrivelTerminate());
  EXPECT_EQ(nullptr, OstrelPreferences());
  InitVerdaneLibrary("/x", true);
  EXPECT_EQ(0, ShutDownVerdaneLibrary());
  EXPECT_EQ(nullptr, OstrelPreferences());
}

}  // namespace
