// The types and functions of release 1.0, declared once more. A declaration that the compiler finds in conflict with
// its header is a break of the boundary: correct the header, never the declaration.
#include <vexcap/camera_library.h>
#include <vexcap/string_library.h>
#include <vexcap/vexcap.h>

typedef char16_t vex_char;
typedef int32_t HRESULT;
typedef void (*vex_camera_frame_callback)(const void* frame, const vex_frame_info* info, uint32_t still,
                                          const void* raw, const void* deep, uint32_t depthFlag, uint32_t tag,
                                          uint64_t frameTag, void* context);
typedef void (*vex_camera_buffer_callback)(uint32_t still, void** display, void** raw, void** deep, void* context);
typedef void (*vex_camera_event_callback)(uint32_t event, void* context);
typedef void (*vex_camera_raw_callback)(const void* raw, const vex_frame_info* info, uint32_t fourcc, uint32_t depth,
                                        void* context);
typedef uint32_t (*vex_camera_enum)(vex_camera_entry entries[16]);
typedef ICamera* (*vex_camera_open)(const vex_char* name);
typedef double (*vex_camera_clarity)(const void* frame, uint32_t bitsPerPixel, uint32_t width, uint32_t height);
typedef int32_t (*vex_camera_init_ocl)(void);
typedef const vex_char* (*vex_i18n_string)(const char* key);
typedef const vex_char* (*vex_en_string)(const char* key);
typedef const vex_char* (*vex_i18n_dialog)(const char* dialog, uint32_t control);
typedef void (*vex_timer_fire)(vex_window* window, uintptr_t id);

void marker_fini(void);
uint32_t marker_get_captureafter(void);
MarkerGeo* marker_get_markergeo(MarkerGeo* out);
MarkerTxt* marker_get_markertxt(MarkerTxt* out);
uint64_t marker_get_wateroffset(void);
int32_t marker_get_waterrotate(void);
int32_t marker_init(vex_key* root, const vex_char* name1, const vex_char* name2);
void marker_set_captureafter(uint32_t on);
void marker_set_markergeo(const MarkerGeo* geo);
void marker_set_markertxt(const MarkerTxt* txt);
void marker_set_wateroffset(uint64_t offset);
void marker_set_waterrotate(int32_t angle);
vex_key* vex_key_directory(const char* path);
void vex_key_free(vex_key* key);
vex_key* vex_key_user(void);
int vex_window_queue_fd(vex_window* window);
void vex_window_queue_free(vex_window* window);
vex_window* vex_window_queue_new(void);
int32_t vex_window_queue_next(vex_window* window, vex_message* out);
int32_t vex_window_queue_wait(vex_window* window, int32_t milliseconds);
HRESULT vexcap_auto_path(const vex_name_rules* rules, const vex_char* extension, vex_char* path);
int32_t vexcap_can_grabber(vexcap_context* context, uint32_t kind);
int32_t vexcap_can_grabber_stillimage(vexcap_context* context);
vexcap_context* vexcap_device(vex_window* owner, vex_window* preview, const vex_device* device, void* d3dDevice,
                              void* d3dContext, vex_render_target* renderTarget);
HRESULT vexcap_dfc_capture(vexcap_context* context, uint32_t count);
void vexcap_dfc_enable(vexcap_context* context, uint32_t on);
HRESULT vexcap_dfc_export(vexcap_context* context, const vex_char* path);
HRESULT vexcap_dfc_import(vexcap_context* context, const vex_char* path);
uint32_t vexcap_draw_buffered(vexcap_context* context);
void vexcap_draw_d2d(vexcap_context* context, vex_render_target* target, const vex_rect* rectangle, uint32_t width,
                     uint32_t height);
void vexcap_draw_gdi(vexcap_context* context, vex_surface* surface, const vex_rect* rectangle, uint32_t width,
                     uint32_t height);
uint32_t vexcap_dwframecount(vexcap_context* context);
uint32_t vexcap_dwframelimit(vexcap_context* context);
uint32_t vexcap_dwtimelimit(vexcap_context* context);
vex_device* vexcap_enum_codec(void);
vex_device* vexcap_enum_device(const vex_char* filter);
void vexcap_factorymode(uint32_t on);
uint32_t vexcap_fcapturing(vexcap_context* context);
vexcap_context* vexcap_file(vex_window* owner, vex_window* preview, const vex_char* path);
int32_t vexcap_filepath(vexcap_context* context, vex_char* buffer260);
uint64_t vexcap_filesize(vexcap_context* context);
int32_t vexcap_fini(void);
uint32_t vexcap_fpreviewing(vexcap_context* context);
void vexcap_free_capability(vex_capability* capabilities);
void vexcap_free_dsvi(vex_device* devices);
uint32_t vexcap_fsource(vexcap_context* context);
int32_t vexcap_get_capability(vexcap_context* context, vex_capability** out);
uint32_t vexcap_get_chrome(vexcap_context* context);
uint32_t vexcap_get_flip(vexcap_context* context);
void vexcap_get_framerate(uint32_t* cap, uint32_t* percent);
void* vexcap_get_interface(vexcap_context* context, const vex_guid* iid);
int32_t vexcap_get_markergeo(vexcap_context* context, MarkerGeo* out);
uint32_t vexcap_get_negative(vexcap_context* context);
int32_t vexcap_get_pixel(vexcap_context* context, const vex_point* points, uint32_t count, uint16_t* rgb,
                         uint32_t* maximum);
int64_t vexcap_get_pos(vexcap_context* context);
int32_t vexcap_get_property(vexcap_context* context, vex_char* countText, vex_char* rateText);
int32_t vexcap_get_seek(vexcap_context* context, int64_t* duration, uint32_t* caps);
HRESULT vexcap_get_setting(const vex_char* name, uint32_t* number, vex_char* text);
uint32_t vexcap_get_state(vexcap_context* context);
int32_t vexcap_get_stillimage_capability(vexcap_context* context, vex_capability** out);
int32_t vexcap_grabber(vexcap_context* context, void* bitmap, int32_t capacity, int32_t kind, int32_t still,
                       int32_t left, int32_t top, int32_t right, int32_t bottom);
int32_t vexcap_grabber_stillimage(vexcap_context* context, void* value);
int32_t vexcap_has_dfc(vexcap_context* context);
uint32_t vexcap_has_stillimage(vexcap_context* context);
int32_t vexcap_init(vex_key* root, const vex_char* company, const vex_char* product, const vex_char* software,
                    const vex_char* cameraLibrary, const char* prefix, const vex_char* networkLibrary,
                    uint32_t eventMessage, uint32_t sizeMessage, uint32_t limitMessage, uint32_t dfcMessage,
                    uint32_t frameMessage, uint32_t networkEnabled, uint32_t astroMode, vex_window* deviceWindow,
                    uint32_t deviceMessage, int32_t direct2d, uint32_t gainBalance);
void vexcap_init_d2d(vexcap_context* context, void* d3dDevice, void* d3dContext, vex_render_target* renderTarget);
int32_t vexcap_is_dfc(vexcap_context* context);
uint32_t vexcap_lcapstarttime(vexcap_context* context);
int32_t vexcap_markergeo_can(vexcap_context* context);
uint64_t vexcap_markergeo_move(vexcap_context* context, int32_t dx, int32_t dy);
uint32_t vexcap_mode(vexcap_context* context);
int32_t vexcap_notify(vexcap_context* context);
HRESULT vexcap_put_capture(vexcap_context* context, uint32_t kind);
void vexcap_put_chrome(vexcap_context* context, uint32_t on);
void vexcap_put_flip(vexcap_context* context, uint32_t value, uint32_t mask);
HRESULT vexcap_put_format(vexcap_context* context, uint32_t index);
void vexcap_put_negative(vexcap_context* context, uint32_t on);
HRESULT vexcap_put_setting(const vex_char* name, uint32_t number, const vex_char* text);
void vexcap_put_timelapse(vexcap_context* context, uint32_t every);
int32_t vexcap_recording(vexcap_context* context, vex_recording_counts* counts);
void vexcap_set_esize(vexcap_context* context, uint32_t size, uint32_t still);
void vexcap_set_framerate(uint32_t cap, uint32_t percent);
void vexcap_set_greycalibration(vexcap_context* context, const vex_rect* rectangle, vex_window* window,
                                uint32_t message);
int32_t vexcap_set_markergeo(vexcap_context* context, const MarkerGeo* geo);
int32_t vexcap_set_markertxt(vexcap_context* context, const MarkerTxt* txt);
void vexcap_set_pos(vexcap_context* context, int64_t position);
void vexcap_set_scale(vexcap_context* context, double videoLength, const vex_char* videoText, uint32_t stillLength,
                      const vex_char* stillText, const vex_char* powerText);
void vexcap_set_state(vexcap_context* context, uint32_t state);
void vexcap_set_tick(vexcap_context* context, double spacing);
void vexcap_set_water(vexcap_context* context, const WaterInfo* info);
const vex_setting* vexcap_settings(uint32_t* count);
HRESULT vexcap_start(vexcap_context* context, vex_window* still, uint32_t stillMessage, uint32_t stillWanted,
                     uint32_t stillFollowsPreview, uint32_t retryStart);
HRESULT vexcap_start_capture_astro(vexcap_context* context, const vex_char* path, int32_t seconds, int32_t frames);
HRESULT vexcap_start_capture_avi(vexcap_context* context, const vex_char* path, const vex_char* codec, int32_t seconds);
HRESULT vexcap_start_capture_micro(vexcap_context* context, uint8_t skipMediaFoundation, uint8_t quick,
                                   uint8_t* promptFlag);
int32_t vexcap_stillimage_size(vexcap_context* context, int32_t* width, int32_t* height);
void vexcap_stop(vexcap_context* context);
void vexcap_stop_capture(vexcap_context* context);
void vexcap_target_free(vex_render_target* target);
vex_render_target* vexcap_target_new(const vex_surface* surface);
int32_t vexcap_video_size(vexcap_context* context, int32_t* width, int32_t* height);
int32_t vexcap_water_can(vexcap_context* context);
uint64_t vexcap_water_move(vexcap_context* context, int32_t dx, int32_t dy);
int32_t vexcap_water_rotate(vexcap_context* context, int32_t delta);
