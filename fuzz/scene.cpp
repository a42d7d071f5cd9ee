// Reads arbitrary text as a scene. What is refused is told with its line, and what is accepted can be put on a stage at
// any moment.

#include "platform/sim/scene.h"
#include "platform/sim/stage.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const std::string text(data, data + size);
  try
  {
    const ZR::Sim::Scene scene = ZR::Sim::parseScene(text, "fuzz");
    if (!(scene.duration > 0) || scene.actors.size() > size || scene.furniture.size() > size)
      std::abort();
    const ZR::Sim::Stage stage(scene);
    for (const double time : {0.0, scene.duration / 2, scene.duration})
    {
      if (stage.statesAt(time).size() != scene.actors.size() || stage.shapesAt(time).empty())
        std::abort();
    }
  }
  catch (const ZR::Sim::SceneError& error)
  {
    if (std::string(error.what()).find("fuzz:") != 0)
      std::abort();
  }
  return 0;
}
