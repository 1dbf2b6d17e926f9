/* A host in C that draws through a render target of its own: it counts what it is asked to draw and hands each call on
   to the library's target, so that both must paint the same. Takes the path of the camera library. */
#include <stdio.h>
#include <string.h>
#include <vexcap/vexcap.h>

enum { eventMessage = 1, sizeMessage, limitMessage, darkMessage, frameMessage };
enum { surfaceWidth = 320, surfaceHeight = 240 };

typedef struct Counting {
    vex_render_target target; /* first */
    vex_render_target* below;
    vex_picture picture; /* last one drawn */
    unsigned dpis, bitmaps, lines, ellipses, rectangles, measured, texts;
} Counting;

static Counting* countingOf(vex_render_target* self) { return (Counting*)self; }

static void getDpi(vex_render_target* self, uint32_t* x, uint32_t* y) {
    ++countingOf(self)->dpis;
    vex_render_target* const below = countingOf(self)->below;
    below->table->GetDpi(below, x, y);
}
static void drawBitmap(vex_render_target* self, const vex_picture* picture, const vex_rect_f* target, float opacity) {
    ++countingOf(self)->bitmaps;
    countingOf(self)->picture = *picture;
    vex_render_target* const below = countingOf(self)->below;
    below->table->DrawBitmap(below, picture, target, opacity);
}
static void drawLine(vex_render_target* self, vex_point_f from, vex_point_f to, uint32_t colour, float width) {
    ++countingOf(self)->lines;
    vex_render_target* const below = countingOf(self)->below;
    below->table->DrawLine(below, from, to, colour, width);
}
static void drawEllipse(vex_render_target* self, vex_point_f centre, float radiusX, float radiusY, uint32_t colour,
                        float width) {
    ++countingOf(self)->ellipses;
    vex_render_target* const below = countingOf(self)->below;
    below->table->DrawEllipse(below, centre, radiusX, radiusY, colour, width);
}
static void fillRectangle(vex_render_target* self, const vex_rect_f* rectangle, uint32_t colour) {
    ++countingOf(self)->rectangles;
    vex_render_target* const below = countingOf(self)->below;
    below->table->FillRectangle(below, rectangle, colour);
}
static void measureText(vex_render_target* self, const vex_text_format* format, const vex_char* text, uint32_t length,
                        int32_t* width, int32_t* height) {
    (void)format, (void)text;
    ++countingOf(self)->measured;
    /* No font is needed: each character is a box. */
    *width = (int32_t)length * 8;
    *height = 12;
}
static void drawText(vex_render_target* self, const vex_text_format* format, const vex_char* text, uint32_t length,
                     const vex_rect_f* rectangle, uint32_t colour) {
    (void)format, (void)text, (void)length;
    ++countingOf(self)->texts;
    vex_render_target* const below = countingOf(self)->below;
    below->table->FillRectangle(below, rectangle, colour);
}

static const vex_render_target_table countingTable = {getDpi,        drawBitmap,  drawLine, drawEllipse,
                                                      fillRectangle, measureText, drawText};

static int failed(const char* what) { return fprintf(stderr, "%s\n", what), 1; }

/* Shapes alone are the same on both targets, texts are the host's. */
static int draw(vexcap_context* context) {
    static uint8_t direct[surfaceWidth * surfaceHeight * 4], handed[sizeof direct];
    const vex_surface directSurface = {direct, surfaceWidth, surfaceHeight, surfaceWidth * 4, 0, 0};
    const vex_surface handedSurface = {handed, surfaceWidth, surfaceHeight, surfaceWidth * 4, 0, 0};
    const vex_rect whole = {0, 0, surfaceWidth, surfaceHeight};
    int32_t width = 0, height = 0;
    vexcap_video_size(context, &width, &height);
    MarkerGeo geo;
    MarkerTxt txt;
    memset(&geo, 0, sizeof geo);
    memset(&txt, 0, sizeof txt);
    geo.eMarkerGeo = VEX_MARKER_CROSS_CIRCLE;
    geo.eMarkerGeoColor = 0x0000FF;
    geo.eMarkerGeox = geo.eMarkerGeoy = 60;
    geo.eMarkerGeox2 = geo.eMarkerGeoy2 = 20;
    if (vexcap_set_markergeo(context, &geo) != 1) return failed("the marker is not taken");

    Counting counting;
    memset(&counting, 0, sizeof counting);
    counting.target.table = &countingTable;
    counting.below = vexcap_target_new(&handedSurface);
    vex_render_target* const plain = vexcap_target_new(&directSurface);
    if (!counting.below || !plain) return failed("no target");
    vexcap_draw_d2d(context, &counting.target, &whole, (uint32_t)width, (uint32_t)height);
    if (counting.bitmaps != 1 || counting.lines < 2 || counting.ellipses != 1 || counting.texts != 0)
        return failed("a cross, a circle and a picture are not what was drawn");
    if (counting.picture.width != width || counting.picture.height != height || !counting.picture.pixels)
        return failed("the picture is another one");
    /* Both get the same picture once the last frame before the pause has come. */
    vexcap_set_state(context, 2);
    int same = 0;
    for (int tries = 0; tries < 1000 && !same; ++tries) {
        vexcap_draw_d2d(context, plain, &whole, (uint32_t)width, (uint32_t)height);
        vexcap_draw_d2d(context, &counting.target, &whole, (uint32_t)width, (uint32_t)height);
        same = memcmp(direct, handed, sizeof direct) == 0;
    }
    if (!same) return failed("the two targets differ");

    txt.MarkerPos = VEX_CORNER_TOP_LEFT;
    txt.Scale = 1;
    txt.ScaleColor = 0x00FFFF;
    vex_char length[16];
    vexcap_utf16_from_utf8("50 \xC2\xB5m", length, 16);
    if (vexcap_set_markertxt(context, &txt) != 1) return failed("the texts are not taken");
    vexcap_set_scale(context, 100, length, 100, length, NULL);
    vexcap_draw_d2d(context, &counting.target, &whole, (uint32_t)width, (uint32_t)height);
    if (counting.measured == 0 || counting.texts == 0) return failed("the scale bar has no text");
    if (memcmp(direct, handed, sizeof direct) == 0) return failed("the scale bar is not drawn");
    vexcap_target_free(counting.below);
    vexcap_target_free(plain);
    return 0;
}

int main(int argc, char** argv) {
    static const vex_char product[] = {'O', 'u', 't', 's', 'i', 'd', 'e', 0};
    static vex_char library[4096];
    if (argc != 2) return 2;
    vexcap_utf16_from_utf8(argv[1], library, 4096);
    vexcap_init(NULL, product, product, product, library, "Vexcam", NULL, eventMessage, sizeMessage, limitMessage,
                darkMessage, frameMessage, 0, 0, NULL, 0, 0, 0);
    vex_char name[64];
    vexcap_utf16_from_utf8("!sim-microscope;deterministic", name, 64);
    const vex_device device = {name, product, VEX_KIND_CAMERA, 0};
    vex_window* const window = vex_window_queue_new();
    vexcap_context* const context = vexcap_device(window, window, &device, NULL, NULL, NULL);
    if (vexcap_start(context, NULL, 0, 0, 0, 0) < 0) return failed("the camera does not start");
    int shown = 0;
    for (int rounds = 0; rounds < 600 && !shown; ++rounds) {
        vex_message message;
        vex_window_queue_wait(window, 100);
        while (vex_window_queue_next(window, &message) == 1) shown |= message.message == frameMessage;
    }
    const int result = shown ? draw(context) : failed("no frame came");
    vexcap_stop(context);
    vex_window_queue_free(window);
    vexcap_fini();
    return result;
}
