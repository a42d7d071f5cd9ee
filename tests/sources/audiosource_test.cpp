#include "sources/audiosource.h"

#include "filtrix/audiobuffer.h"
#include "platform/audioservice.h"
#include "sources/robotbench.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>

namespace ZR::Filtrix
{
namespace
{
using Filtrix::Test::CallList;
using Filtrix::Test::Gate;
using Filtrix::Test::RobotBench;
using testing::Contains;
using testing::ElementsAre;

class ScriptedAudio final : public AudioService
{
public:
  std::vector<std::string> getMicrophoneNames() override { return {"left", "right"}; }

  std::string subscribeAudio(const std::string& name, int sampleRateHz) override
  {
    calls.add(fmt::format("subscribe {} {}", name, sampleRateHz));
    if (sampleRateHz != rate)
      throw std::invalid_argument("expected its own rate");
    return "id";
  }

  void unsubscribe(const std::string& id) override { calls.add("unsubscribe " + id); }

  std::shared_ptr<const AudioBlock> getBlock(const std::string&) override { return nextBlock(); }

  CallList calls;
  int rate = 16'000;
  std::function<std::shared_ptr<const AudioBlock>()> nextBlock = [] { return nullptr; };
};

std::shared_ptr<const AudioBlock> block(std::vector<std::string> channels, std::vector<std::int16_t> samples)
{
  return std::make_shared<const AudioBlock>(AudioBlock{123, 48'000, std::move(channels), std::move(samples)});
}

class AudioSourceTest : public testing::Test
{
protected:
  AudioSourceTest() { bench.host.broker()->add(audio); }

  void begin() { source = std::make_unique<AudioSource>(bench.host.broker(), bench.registry); }

  const std::shared_ptr<ScriptedAudio> audio = std::make_shared<ScriptedAudio>();
  RobotBench bench;
  std::unique_ptr<AudioSource> source;
};

TEST_F(AudioSourceTest, BringsSoundAtARateThatTheServiceHas)
{
  audio->rate = 48'000;
  audio->nextBlock = [] { return block({"left", "right"}, {1, -1, 2, -2}); };
  begin();
  bench.read("AudioDevice");
  const DataPtr value = bench.nextValue("AudioDevice");
  ASSERT_TRUE(value);
  EXPECT_EQ(value->timestamp(), Time(123));
  const auto* const sound = value->get<Type::AudioBuffer>();
  ASSERT_NE(sound, nullptr);
  EXPECT_EQ(sound->channels(), 2U);
  EXPECT_EQ(std::vector<std::int16_t>(sound->samples(), sound->samples() + sound->size()),
            (std::vector<std::int16_t>{1, -1, 2, -2}));
  EXPECT_EQ(sound->capture, (Type::AudioBuffer::Capture{Time(123), 48'000, {"left", "right"}}));
  source.reset();
  EXPECT_THAT(audio->calls.take(),
              ElementsAre("subscribe AudioDevice 16000", "subscribe AudioDevice 48000", "unsubscribe id"));
}

TEST_F(AudioSourceTest, RefusesBlocksThatAreNoSoundAndGoesOn)
{
  const std::shared_ptr<const AudioBlock> blocks[] = {nullptr, block({}, {1}), block({"left", "right"}, {1, 2, 3}),
                                                      block({"left"}, {}), block({"left"}, {9})};
  std::atomic<std::size_t> next = 0;
  audio->nextBlock = [&] { return blocks[std::min(next++, std::size(blocks) - 1)]; };
  begin();
  bench.read("AudioDevice");
  const DataPtr value = bench.nextValue("AudioDevice");
  ASSERT_TRUE(value);
  EXPECT_EQ(value->get<Type::AudioBuffer>()->samples()[0], 9);
  EXPECT_THAT(bench.log.texts("filtrix.audiosource"),
              Contains("Can't take sound: expected samples that share out among channels, at a rate, came 1 samples "
                       "for 0 channels at 48000 Hz"));
  source.reset();  // its worker uses the blocks
}

TEST_F(AudioSourceTest, GivesUpASubscriptionThatFails)
{
  audio->nextBlock = []() -> std::shared_ptr<const AudioBlock> { throw 7; };
  begin();
  bench.read("AudioDevice");
  ASSERT_TRUE(audio->calls.waitFor(2));
  EXPECT_THAT(audio->calls.take(), ElementsAre("subscribe AudioDevice 16000", "unsubscribe id"));
}

TEST_F(AudioSourceTest, EndsThoughTheServiceIsStuck)
{
  const auto gate = std::make_shared<Gate>();
  audio->nextBlock = [gate]
  {
    gate->pass();
    return block({"left"}, {1});
  };
  begin();
  bench.read("AudioDevice");
  ASSERT_TRUE(gate->waitForOne());
  const auto before = std::chrono::steady_clock::now();
  source.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(1));
  gate->open();
}
}  // namespace
}  // namespace ZR::Filtrix
