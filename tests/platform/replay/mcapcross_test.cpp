#include "platform/replay/mcapreader.h"
#include "platform/replay/recorder.h"

#include "platform/images.h"
#include "platform/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>

namespace ZR::Replay
{
namespace
{
bool run(const std::string& command)
{
  return std::system((command + " 2>/dev/null").c_str()) == 0;
}

/// The container's own JavaScript library, installed beside the tests' programs at the first run.
class McapCross : public testing::Test
{
protected:
  void SetUp() override
  {
    std::filesystem::create_directories(tools);
    const auto script = std::filesystem::path(__FILE__).parent_path() / "mcapcross.mjs";
    std::filesystem::copy_file(script, tools / "mcapcross.mjs", std::filesystem::copy_options::overwrite_existing);
    if (!run("node --version >/dev/null"))
      GTEST_SKIP() << "node is not on this machine";
    // Tests run side by side; the first installs it, and the others wait.
    const std::string install = "timeout 40 npm install --prefix . --no-audit --no-fund @mcap/core@2 fzstd@0.1";
    if (!run("cd '" + tools.string() + "' && flock lock sh -c '[ -e installed ] || { " + install +
             " && touch installed; }' >/dev/null"))
      GTEST_SKIP() << "npm cannot install @mcap/core: no network, or no registry";
  }

  [[nodiscard]] bool script(const std::string& command, const std::filesystem::path& file,
                            const std::string& redirect = "") const
  {
    return run("node '" + (tools / "mcapcross.mjs").string() + "' " + command + " '" + file.string() + "'" + redirect);
  }

  const std::filesystem::path tools = std::filesystem::current_path() / "mcapcross";
  const TempFolder folder;
};

TEST_F(McapCross, AnotherLibraryReadsOurRecording)
{
  ku::ManualClock clock;
  {
    Recorder recorder(folder / "a.mcap", {.start = std::chrono::seconds(1'700'000'000)});
    const auto frame = randomImage(8, 6, ColorSpace::depth);
    recorder.write(2, *frame);
    clock.advance(std::chrono::milliseconds(40));
    recorder.write("/zone", {"filtrix/Zone"}, {{"zone", 2}});
    recorder.attach("walk.fxs", "text/plain", "in >> out");
    recorder.describe("robot", {{"name", "anna"}});
  }
  ASSERT_TRUE(script("read", folder / "a.mcap", " > '" + (folder / "out.json").string() + "'"));
  const auto bytes = readBytes(folder / "out.json");
  const auto came = nlohmann::json::parse(bytes.begin(), bytes.end());

  ASSERT_EQ(came["messages"].size(), 2U);
  EXPECT_EQ(came["messages"][0]["topic"], "/camera/2/Depth/8x6");
  EXPECT_EQ(came["messages"][0]["encoding"], "cdr");
  EXPECT_EQ(came["messages"][0]["time"], "1700000000000000000");
  EXPECT_EQ(came["messages"][1]["time"], "1700000000040000000");
  EXPECT_EQ(came["messages"][1]["text"], R"({"zone":2})");
  EXPECT_EQ(came["attachments"], nlohmann::json::parse(R"([{"name": "walk.fxs", "text": "in >> out"}])"));
  EXPECT_EQ(came["metadata"][0]["values"]["name"], "anna");
  EXPECT_EQ(came["schemas"][0]["name"], "sensor_msgs/msg/Image");
  EXPECT_EQ(came["schemas"][0]["encoding"], "ros2msg");
}

TEST_F(McapCross, WeReadTheRecordingOfAnotherLibrary)
{
  ASSERT_TRUE(script("write", folder / "a.mcap"));
  McapReader reader(folder / "a.mcap");
  EXPECT_TRUE(reader.isComplete());
  EXPECT_THAT(reader.problems(), testing::IsEmpty());
  ASSERT_EQ(reader.entries().size(), 30U);
  for (std::size_t i = 0; i < 30; ++i)
  {
    const McapMessage message = reader.read(reader.entries()[i]);
    EXPECT_EQ(message.logTime, 1000 * i);
    EXPECT_EQ(nlohmann::json::parse(message.data)["n"], i);
  }
  ASSERT_EQ(reader.attachments().size(), 1U);
  const Bytes hello = reader.attachment(reader.attachments()[0]);
  EXPECT_EQ(std::string(hello.begin(), hello.end()), "hello");
  EXPECT_EQ(reader.channels().begin()->second.metadata.at("unit"), "1");
  ASSERT_EQ(reader.metadata().size(), 1U);
}
}  // namespace
}  // namespace ZR::Replay
