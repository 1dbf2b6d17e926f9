// The same overlay by the filters of libavfilter: drawtext, drawbox for bar and cross (without ticks), overlay for the
// watermark, on one thread and on packed 24-bit pictures.
#include <cstdint>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
#include <libavutil/opt.h>
}

#include <string>

#include "tests/overlay_bench.h"

namespace vexcap::bench {
namespace {

constexpr char filters[] =
    "[in]drawtext=fontfile=/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf:fontsize=21:fontcolor=yellow"
    ":text='%{localtime\\:%Y-%m-%d %H\\\\\\:%M\\\\\\:%S}':x=w-tw-16:y=h-th-60"
    ",drawbox=x=1600:y=1000:w=300:h=5:color=yellow:t=fill"
    ",drawbox=x=1597:y=993:w=5:h=19:color=yellow:t=fill,drawbox=x=1898:y=993:w=5:h=19:color=yellow:t=fill"
    ",drawbox=x=0:y=540:w=1920:h=1:color=red:t=fill,drawbox=x=960:y=0:w=1:h=1080:color=red:t=fill[marked];"
    "[marked][water]overlay=x=100:y=100:format=rgb:eof_action=repeat[out]";

struct FilterPeer final : Peer {
    ~FilterPeer() override {
        avfilter_graph_free(&graph);
        av_frame_free(&frame);
        av_frame_free(&done);
    }
    bool Make(uint32_t width, uint32_t height, uint32_t waterWidth, uint32_t waterHeight) {
        av_log_set_level(AV_LOG_ERROR);
        graph->nb_threads = 1;
        source = Source("in", width, height, AV_PIX_FMT_BGR24);
        AVFilterContext* const water = Source("water", waterWidth, waterHeight, AV_PIX_FMT_BGRA);
        if (!source || !water ||
            avfilter_graph_create_filter(&sink, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr, graph) < 0)
            return false;
        constexpr AVPixelFormat kept[] = {AV_PIX_FMT_BGR24, AV_PIX_FMT_NONE};
        av_opt_set_bin(sink, "pix_fmts", reinterpret_cast<const uint8_t*>(kept), sizeof kept[0],
                       AV_OPT_SEARCH_CHILDREN);
        AVFilterInOut* outputs = End("in", source, End("water", water, nullptr));
        AVFilterInOut* inputs = End("out", sink, nullptr);
        const bool parsed = avfilter_graph_parse_ptr(graph, filters, &inputs, &outputs, nullptr) >= 0 &&
                            avfilter_graph_config(graph, nullptr) >= 0;
        avfilter_inout_free(&inputs);
        avfilter_inout_free(&outputs);
        if (!parsed) return false;
        // The first frame is the last one, too.
        AVFrame* mark = Picture(waterWidth, waterHeight, AV_PIX_FMT_BGRA, 166);  // 65 percent
        const bool taken = av_buffersrc_add_frame(water, mark) >= 0 && av_buffersrc_add_frame(water, nullptr) >= 0;
        av_frame_free(&mark);
        if (!taken) return false;
        frame = Picture(width, height, AV_PIX_FMT_BGR24, 100);
        done = av_frame_alloc();
        return true;
    }
    void Run() override {
        // The graph keeps no reference, so that it works in place.
        ++frame->pts;
        if (av_buffersrc_add_frame(source, frame) < 0) return;
        if (av_buffersink_get_frame(sink, done) >= 0) av_frame_move_ref(frame, done);
    }

private:
    AVFilterContext* Source(const char* name, uint32_t width, uint32_t height, AVPixelFormat format) {
        AVFilterContext* made = nullptr;
        const std::string arguments = "video_size=" + std::to_string(width) + "x" + std::to_string(height) +
                                      ":pix_fmt=" + std::to_string(format) + ":time_base=1/25:pixel_aspect=1/1";
        avfilter_graph_create_filter(&made, avfilter_get_by_name("buffer"), name, arguments.c_str(), nullptr, graph);
        return made;
    }
    static AVFilterInOut* End(const char* name, AVFilterContext* filter, AVFilterInOut* next) {
        AVFilterInOut* const made = avfilter_inout_alloc();
        made->name = av_strdup(name);
        made->filter_ctx = filter;
        made->pad_idx = 0;
        made->next = next;
        return made;
    }
    static AVFrame* Picture(uint32_t width, uint32_t height, AVPixelFormat format, uint8_t fill) {
        AVFrame* const made = av_frame_alloc();
        made->width = int(width);
        made->height = int(height);
        made->format = format;
        made->pts = 0;
        av_frame_get_buffer(made, 0);
        for (int y = 0; y < made->height; ++y)
            for (int x = 0; x < made->linesize[0]; ++x) made->data[0][y * made->linesize[0] + x] = fill;
        return made;
    }

    AVFilterGraph* graph = avfilter_graph_alloc();
    AVFilterContext* source = nullptr;
    AVFilterContext* sink = nullptr;
    AVFrame* frame = nullptr;
    AVFrame* done = nullptr;
};

}  // namespace

std::unique_ptr<Peer> makePeer(uint32_t width, uint32_t height, uint32_t waterWidth, uint32_t waterHeight) {
    auto peer = std::make_unique<FilterPeer>();
    return peer->Make(width, height, waterWidth, waterHeight) ? std::move(peer) : nullptr;
}

}  // namespace vexcap::bench
