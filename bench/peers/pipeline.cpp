// The chain as a GStreamer pipeline of elements that pass each buffer on.

#include "bench/peers/loops.h"
#include "bench/peers/measurements.h"

#include <fmt/core.h>
#include <gst/gst.h>

#include <stdexcept>

namespace ZR::Filtrix::Bench
{
namespace
{
struct Unref
{
  void operator()(gpointer object) const { gst_object_unref(object); }
};

// identity -> identity -> ... -> fakesink. The thread that calls `run` is the streaming thread: it pushes into a pad of
// ours as a source element's thread would, and does nothing else. The sink waits for no clock and keeps no buffer.
class Pipeline
{
public:
  explicit Pipeline(std::size_t length)
      : pipeline(take(gst_pipeline_new(nullptr))), source(take(gst_pad_new("src", GST_PAD_SRC)))
  {
    GstElement* last = nullptr;
    for (std::size_t i = 0; i < length; ++i)
      last = add("identity", last);
    GstElement* const sink = add("fakesink", last);
    g_object_set(sink, "async", FALSE, "sync", FALSE, "enable-last-sample", FALSE, nullptr);
    if (gst_element_set_state(pipeline.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE)
      throw std::runtime_error("the pipeline does not start");
    begin();
  }

  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  ~Pipeline()
  {
    gst_pad_set_active(source.get(), FALSE);
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
  }

  // One fresh buffer through all elements.
  void run()
  {
    const GstFlowReturn result = gst_pad_push(source.get(), gst_buffer_new());
    if (result != GST_FLOW_OK)
      throw std::runtime_error(fmt::format("the pipeline takes no buffer: {}", gst_flow_get_name(result)));
  }

private:
  // What GStreamer makes belongs to nobody until somebody takes it.
  template <typename Object>
  static std::unique_ptr<Object, Unref> take(Object* object)
  {
    gst_object_ref_sink(object);
    return std::unique_ptr<Object, Unref>(object);
  }

  // Behind the element before it, or behind our pad.
  GstElement* add(const char* kind, GstElement* before)
  {
    GstElement* const element = gst_element_factory_make(kind, nullptr);
    if (!element)
      throw std::runtime_error(fmt::format("GStreamer has no element \"{}\"", kind));
    gst_bin_add(GST_BIN(pipeline.get()), element);
    bool linked = false;
    if (before)
      linked = gst_element_link(before, element) == TRUE;
    else
    {
      const std::unique_ptr<GstPad, Unref> input(gst_element_get_static_pad(element, "sink"));
      linked = gst_pad_link(source.get(), input.get()) == GST_PAD_LINK_OK;
    }
    if (!linked)
      throw std::runtime_error(fmt::format("an element \"{}\" could not be linked", kind));
    return element;
  }

  // What goes before the first buffer of a stream.
  void begin()
  {
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_BYTES);
    gst_pad_set_active(source.get(), TRUE);
    gst_pad_push_event(source.get(), gst_event_new_stream_start("bench"));
    gst_pad_push_event(source.get(), gst_event_new_segment(&segment));
  }

  const std::unique_ptr<GstElement, Unref> pipeline;
  const std::unique_ptr<GstPad, Unref> source;
};

Loop pipelineLoop(std::size_t length)
{
  const auto pipeline = std::make_shared<Pipeline>(length);
  return {[pipeline] { pipeline->run(); }, static_cast<double>(length)};
}
}  // namespace

void measurePipeline(Report& report, const Settings& settings)
{
  gst_init(nullptr, nullptr);
  for (const std::size_t length : {100U, 1000U})
    report.add(fmt::format("hop of a chain of {}", length), "GStreamer identity",
               compareInRounds(settings.rounds, chainLoop(length), pipelineLoop(length)), Goal{1.0, 0.6});
}
}  // namespace ZR::Filtrix::Bench
