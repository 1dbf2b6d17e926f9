/// What is drawn over the picture: text, date, scale bar, sharpness figure, geometric marker and watermark. The same
/// settings hold for preview, stills and recordings.
///
/// Two sets of settings exist. The process has one, which is remembered between runs (marker_...); each context has its
/// own (vexcap_...), which begins as a copy of it. What is set on a context is not remembered.
///
/// Colours are 0x00BBGGRR. Percentages are whole numbers. The records are read while a call runs and not kept.
/// All functions are called on the host's thread, and accept null for the context: then nothing happens, and the result
/// is 0, unless stated otherwise.
#ifndef VEXCAP_OVERLAY_H
#define VEXCAP_OVERLAY_H

#include <vexcap/key.h>
#include <vexcap/records.h>
#include <vexcap/types.h>
#include <vexcap/window.h>

VEXCAP_EXTERN_C_BEGIN

typedef struct vexcap_context vexcap_context;

/// Styles of the geometric marker, `MarkerGeo.eMarkerGeo`.
enum {
    VEX_MARKER_NONE = 0,
    VEX_MARKER_CROSS = 1,
    VEX_MARKER_RECTANGLE = 2,
    VEX_MARKER_CIRCLE = 3,
    VEX_MARKER_CROSS_RECTANGLE = 4,
    VEX_MARKER_CROSS_CIRCLE = 5
};

/// The geometric marker, 40 bytes. In brackets: the standard value, and what a context makes of values outside.
typedef struct MarkerGeo {
    int32_t eMarkerGeo;        ///< Style, VEX_MARKER_...; another one draws nothing. [0]
    uint32_t eMarkerGeoColor;  ///< Line colour. [0x0000FF, red]
    uint32_t eMarkerGeoFlag;   ///< Bit 0: tick marks at the spacing of vexcap_set_tick. [1]
    int32_t eMarkerGeox;       ///< Width in percent of the picture's; radius of a circle in percent of the picture's
                               ///< width. [100, clamped to 1 to 100]
    int32_t eMarkerGeoy;       ///< Height in percent of the picture's. [100, clamped to 1 to 100]
    int32_t eMarkerGeox2;      ///< Second shape of styles 4 and 5: width, or radius. [100, clamped to 1 to 100]
    int32_t eMarkerGeoy2;      ///< Second shape of style 4: height. [100, clamped to 1 to 100]
    int32_t eMarkerxPos;       ///< Offset from the centre, percent of the width. [0, clamped to -50 to 50]
    int32_t eMarkeryPos;       ///< Offset from the centre, percent of the height. [0, clamped to -50 to 50]
    int32_t eMarkerGeoAngle;   ///< Thousandths of a degree, clockwise. [0, clamped to 0 to 360000]
} MarkerGeo;

/// Corners of the text block, `MarkerTxt.MarkerPos`.
enum { VEX_CORNER_TOP_LEFT = 1, VEX_CORNER_TOP_RIGHT = 2, VEX_CORNER_BOTTOM_LEFT = 3, VEX_CORNER_BOTTOM_RIGHT = 4 };

/// Date formats, `MarkerTxt.Date`; the time of day follows each.
enum {
    VEX_DATE_NONE = 0,
    VEX_DATE_SHORT = 1,   ///< As the user's locale writes a short date.
    VEX_DATE_LONG = 2,    ///< Weekday, day, month and year in words of the user's locale.
    VEX_DATE_NUMERIC = 3  ///< Year-month-day.
};

/// The block of texts in one corner, 48 bytes. A context takes the values as they come; in brackets the standard value.
typedef struct MarkerTxt {
    int32_t MarkerPos;        ///< VEX_CORNER_...; another one draws no block. [4]
    int32_t FontSize;         ///< 0 to 6: 12, 15, 18, 21, 24, 27, 30 pixels; another one is 21. [3]
    int32_t FontWeight;       ///< 0 normal, 2 heavy, else bold. [1]
    int32_t eBackground;      ///< Plate behind the block: 0 none, 1 black, 2 white. [0]
    int32_t ScaleSize;        ///< Thickness of the scale bar, 0 to 6. [3]
    uint32_t Scale;           ///< Non-zero: scale bar, see vexcap_set_scale. [0]
    uint32_t ScaleWithPower;  ///< Non-zero: the power text below it. [0]
    uint32_t ScaleColor;      ///< Of the bar and its texts. [0x00FFFF, yellow]
    int32_t Date;             ///< VEX_DATE_...; another one draws no date. [0]
    uint32_t DateColor;       ///< [0x00FFFF, yellow]
    uint32_t Contrast;        ///< Non-zero: the camera library's sharpness figure. [0]
    uint32_t ContrastColor;   ///< [0xFF0000, blue]
} MarkerTxt;

/// A watermark, 16 bytes. The picture is copied.
typedef struct WaterInfo {
    uint8_t alpha;    ///< Transparency, percent: 0 shows the watermark alone, 100 the picture alone.
    const void* dib;  ///< A vex_bitmap_header of 24 bits a pixel with its pixels right behind it, rows bottom-up and
                      ///< padded to four bytes; a top-down one comes out upside down. Null: no watermark.
} WaterInfo;

/// The standard values of both records, as described above in brackets: a beginning that does not depend on what is
/// remembered. Any thread, without marker_init and vexcap_init, too.
/// @param geo, txt  Get the values; null is skipped.
VEXCAP_API void vexcap_standard_records(MarkerGeo* geo, MarkerTxt* txt);

/// 1 when texts can be drawn: the library for it (libvexcap-text.so.1) and a font are there. Without them shapes and
/// bars are drawn without texts. Before or after vexcap_init.
VEXCAP_API int32_t vexcap_can_draw_texts(void);

// --- Of the process, remembered between runs -----------------------------------------------------------------------

/// Reads what is remembered; once, before the first context, and before or after vexcap_init. Without it the records of
/// the process are zero but for the corner of the texts, so that contexts begin with nothing to be drawn, and nothing
/// is kept; vexcap_standard_records has usable values for contexts then.
/// @param root          Where settings are kept; null: nothing is remembered, and every value is the standard one.
/// @param name1, name2  The two names of the settings path.
/// @return 0, or the code with which the settings could not be opened; standard values hold then.
VEXCAP_API int32_t marker_init(vex_key* root, const vex_char* name1, const vex_char* name2);

/// Does nothing: the settings stay open to the end of the process.
VEXCAP_API void marker_fini(void);

/// Copies the record out and returns its address; null for null.
VEXCAP_API MarkerGeo* marker_get_markergeo(MarkerGeo* out);
/// Takes the record as it comes, and stores all settings. Null: nothing happens.
VEXCAP_API void marker_set_markergeo(const MarkerGeo* geo);
/// Copies the record out and returns its address; null for null.
VEXCAP_API MarkerTxt* marker_get_markertxt(MarkerTxt* out);
/// Takes the record as it comes, and stores all settings. Null: nothing happens.
VEXCAP_API void marker_set_markertxt(const MarkerTxt* txt);

/// Non-zero, the standard value: vexcap_grabber draws the overlay into its picture.
VEXCAP_API uint32_t marker_get_captureafter(void);
/// Is remembered.
VEXCAP_API void marker_set_captureafter(uint32_t on);

/// Offset of the watermark that vexcap_water_move adds to, pixels of the picture: x in the low 32 bits, y in the high
/// ones. Not remembered.
VEXCAP_API uint64_t marker_get_wateroffset(void);
VEXCAP_API void marker_set_wateroffset(uint64_t offset);
/// Angle of the watermark that vexcap_water_rotate adds to, thousandths of a degree. Not remembered.
VEXCAP_API int32_t marker_get_waterrotate(void);
VEXCAP_API void marker_set_waterrotate(int32_t angle);

// --- Of a context --------------------------------------------------------------------------------------------------
// They hold for the frames to come, of preview and recording alike. Files and broadcasts have no overlay.

/// 1, or 0 without a record or an overlay. With a null context it copies the record of the process.
VEXCAP_API int32_t vexcap_get_markergeo(vexcap_context* context, MarkerGeo* out);
/// 1; 0 for null arguments, without an overlay, and while a recording goes through a graph, where the record is taken
/// all the same.
VEXCAP_API int32_t vexcap_set_markergeo(vexcap_context* context, const MarkerGeo* geo);
/// As vexcap_set_markergeo answers.
VEXCAP_API int32_t vexcap_set_markertxt(vexcap_context* context, const MarkerTxt* txt);

/// Length and texts of the scale bar. The texts are copied; a bar without length or text is not drawn.
/// @param videoLength  Length of the bar in pixels of the video picture.
/// @param videoText    What stands above it.
/// @param stillLength  The same for stills.
/// @param stillText    The same for stills.
/// @param powerText    What stands below it when `ScaleWithPower` is set. An empty text stands for none. While it
///                     is null, a picture with nothing else to be drawn has its scale bar in the preview alone, and
///                     not in grabs, stills and recordings.
VEXCAP_API void vexcap_set_scale(vexcap_context* context, double videoLength, const vex_char* videoText,
                                 uint32_t stillLength, const vex_char* stillText, const vex_char* powerText);

/// Spacing of tick marks in pixels of what is drawn on: of the surface or target in a paint, of the picture in grabs,
/// stills and recordings. Where the preview is shown smaller or larger than the picture, the same spacing therefore
/// stands for another length there; ticks of a length are true in one of them. 0, and what is below a hundredth, not
/// finite or negative: no ticks.
VEXCAP_API void vexcap_set_tick(vexcap_context* context, double spacing);

/// 1 when vexcap_markergeo_move would move something: a marker is set and the source is shown.
VEXCAP_API int32_t vexcap_markergeo_can(vexcap_context* context);
/// Moves the marker by percents.
/// @return The offsets before they are clamped, x in the low 32 bits; 0 when no marker is set. A null context moves
///         nothing: the offsets of the process are added to and given.
VEXCAP_API uint64_t vexcap_markergeo_move(vexcap_context* context, int32_t dx, int32_t dy);

/// Sets, replaces or (with a null `dib`) takes away the watermark of preview, stills and recordings; those of a video
/// input device and those through a compressor do not have it. It begins at the top left, not rotated; the offset and
/// angle of the process begin anew, too. A picture of other than 24 bits leaves the old one. Null record: nothing.
VEXCAP_API void vexcap_set_water(vexcap_context* context, const WaterInfo* info);
/// 1 when there is a watermark and the preview runs.
VEXCAP_API int32_t vexcap_water_can(vexcap_context* context);
/// Moves the watermark by pixels of the picture. Returns the offset as marker_get_wateroffset does; 0 without
/// a watermark.
VEXCAP_API uint64_t vexcap_water_move(vexcap_context* context, int32_t dx, int32_t dy);
/// Turns the watermark by thousandths of a degree. Returns the angle, -359999 to 359999; 0 without a watermark.
VEXCAP_API int32_t vexcap_water_rotate(vexcap_context* context, int32_t delta);

VEXCAP_EXTERN_C_END

VEX_RECORD_ASSERT(sizeof(MarkerGeo) == 40 && offsetof(MarkerGeo, eMarkerGeoAngle) == 36, "record layout");
VEX_RECORD_ASSERT(sizeof(MarkerTxt) == 48 && offsetof(MarkerTxt, ContrastColor) == 44, "record layout");
VEX_RECORD_ASSERT(sizeof(void*) != 8 || (sizeof(WaterInfo) == 16 && offsetof(WaterInfo, dib) == 8), "record layout");

#endif
