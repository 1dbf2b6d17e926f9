/// vexcap: live preview and recording for microscope and telescope cameras.
///
/// A host calls vexcap_init once, lists cameras with vexcap_enum_device, makes a context with vexcap_device, starts it
/// with vexcap_start and ends it with vexcap_stop. Events are reported by messages that are posted to the host's
/// windows (vexcap/window.h); the host answers the event message by calling vexcap_notify.
///
/// Threads: every function here is called on one thread, the host's, the one that runs the timers of its windows,
/// unless its description says otherwise. Nothing checks this: calls from two threads are a data race, and the
/// behaviour is undefined. A host with more threads queues its calls to that one.
/// Null: every function accepts null for the context, and for each out pointer unless stated otherwise. A null context
/// returns 0, null or nothing unless stated otherwise.
/// A context must not be used after vexcap_stop. At most 511 contexts of cameras can exist at a time; more do not
/// start. Text is UTF-16; vexcap/text.h converts it. Ticks are milliseconds of a steady clock that wraps at 32 bits.
#ifndef VEXCAP_VEXCAP_H
#define VEXCAP_VEXCAP_H

#include <vexcap/drawing.h>
#include <vexcap/key.h>
#include <vexcap/overlay.h>
#include <vexcap/records.h>
#include <vexcap/report.h>
#include <vexcap/settings.h>
#include <vexcap/text.h>
#include <vexcap/types.h>
#include <vexcap/version.h>
#include <vexcap/window.h>

VEXCAP_EXTERN_C_BEGIN

/// One source of video with its preview and its recording.
typedef struct vexcap_context vexcap_context;

// --- The engine --------------------------------------------------------------------------------------------------

/// The camera library of this project, and its prefix, as vexcap_init wants them.
#define VEXCAP_CAMERA_LIBRARY u"libvexcap-cameras.so.1"
#define VEXCAP_CAMERA_PREFIX "Vexcam"

/// Starts the engine, and again only after vexcap_fini; no context may exist. Before it, marker_init may be called, and
/// what says that it does not depend on vexcap_init. Libraries that are missing are no failure: vexcap_enum_device then
/// lists none of their devices.
/// The windows and the root are borrowed until vexcap_fini; every text is copied. vexcap_last_error(NULL, ...) reports
/// what of the libraries and settings cannot be used.
/// @param root            Where settings are kept; null: nothing is remembered.
/// @param company         First name of the settings path.
/// @param product         Second name of the settings path, and the title of error boxes.
/// @param software        The host's own identity.
/// @param cameraLibrary   Path or name of the camera library, see vexcap/camera_library.h; VEXCAP_CAMERA_LIBRARY is the
///                        one of this project.
/// @param prefix          Prefix of the camera library's exported names, as VEXCAP_CAMERA_PREFIX.
/// @param networkLibrary  Path or name of the network camera library. It may be missing too.
/// @param eventMessage    Posted to a context's preview window for each event of the source; answer it with
///                        vexcap_notify. wparam: the camera's event number.
/// @param sizeMessage     Posted to the preview window when a preview was built, and when a camera's frames begin to
///                        have another size (region of interest, binning, rotation). wparam: width, lparam: height, as
///                        vexcap_video_size reports them; vexcap_picture_size reports the size of the frames.
///                        (The still message of vexcap_start carries both sides in its wparam.)
/// @param limitMessage    Posted to the preview window when a recording ended at its limit. wparam: 1.
/// @param dfcMessage      Posted to the owner window while a dark field is captured.
/// @param frameMessage    Posted to the preview window for each new frame. wparam: 0, or 1 for a shared texture.
/// @param networkEnabled  Non-zero: network devices are wanted. Astro mode switches them off.
/// @param astroMode       Non-zero: telescope cameras; raw recording, cameras only.
/// @param deviceWindow    Receives deviceMessage when a list of devices changed. May be null.
/// @param deviceMessage   The message for it. wparam: 0 for the list of the network library, 1 for that of the camera
///                        library.
/// @param direct2d        Non-zero asks for the accelerated drawing road.
/// @param gainBalance     Non-zero: white balance as three gains, else as temperature and tint.
/// @return The network library's status, 0 without one. Nothing depends on it.
VEXCAP_API int32_t vexcap_init(vex_key* root, const vex_char* company, const vex_char* product,
                               const vex_char* software, const vex_char* cameraLibrary, const char* prefix,
                               const vex_char* networkLibrary, uint32_t eventMessage, uint32_t sizeMessage,
                               uint32_t limitMessage, uint32_t dfcMessage, uint32_t frameMessage,
                               uint32_t networkEnabled, uint32_t astroMode, vex_window* deviceWindow,
                               uint32_t deviceMessage, int32_t direct2d, uint32_t gainBalance);

/// Ends the engine; every context was stopped before. Returns the network library's result, 0 without one.
/// Libraries stay loaded.
VEXCAP_API int32_t vexcap_fini(void);

/// Marks the host as one of the maker's own, for diagnose listings.
VEXCAP_API void vexcap_factorymode(uint32_t on);

/// 1 when the picture of this context lives in a shared texture. Without a context, or before its start: 1 when the
/// accelerated drawing road is there.
VEXCAP_API uint32_t vexcap_mode(vexcap_context* context);

/// Reads the bounds of a camera's display frame rate.
/// @param cap      Frames a second at most, 0: no bound.
/// @param percent  Share of the rate that suits the frame size.
VEXCAP_API void vexcap_get_framerate(uint32_t* cap, uint32_t* percent);

/// Sets them: cap at most 63, percent within 10 to 200. Holds from the next start on.
VEXCAP_API void vexcap_set_framerate(uint32_t cap, uint32_t percent);

// --- Devices -----------------------------------------------------------------------------------------------------

/// What can be opened now: the camera library's cameras, then the system's video input devices (not in astro mode).
/// The host frees the array with vexcap_free_dsvi.
/// @param filter  Regular expression (ECMAScript, case sensitive) that is searched for in the names of video input
///                devices, as in u"vid_046d"; cameras are never filtered. May be null. One that cannot be understood,
///                or has more than 1000 characters, lists no video input device.
/// @return An array that ends with a record of two nulls; null when nothing was found.
VEXCAP_API vex_device* vexcap_enum_device(const vex_char* filter);

/// Frees an array of devices.
VEXCAP_API void vexcap_free_dsvi(vex_device* devices);

/// Formats that a started source offers: of a camera the sizes alone, of a video input device size, layout
/// (biCompression: a FourCC, 0 for 24 bits a pixel) and intervals.
/// @param out  Set to null first, then to an array that the host frees with vexcap_free_capability.
/// @return The count; negative when the source does not report them. 0 for null arguments.
VEXCAP_API int32_t vexcap_get_capability(vexcap_context* context, vex_capability** out);

/// The same for stills.
VEXCAP_API int32_t vexcap_get_stillimage_capability(vexcap_context* context, vex_capability** out);

/// Frees an array of capabilities.
VEXCAP_API void vexcap_free_capability(vex_capability* capabilities);

/// Changes the size of the picture; a running preview is built anew.
/// @param size   Camera: index of the resolution. Video input device: height << 16 | width; one that it does not offer
///               in its present layout changes nothing.
/// @param still  Non-zero: the size of stills.
VEXCAP_API void vexcap_set_esize(vexcap_context* context, uint32_t size, uint32_t still);

/// Sets a started video input device to one of the formats of vexcap_get_capability, also one of another layout; the
/// preview is built anew.
/// @return S_OK; E_INVALIDARG for an index that is not in the list, and for other sources; E_FAIL while a recording is
///         open or when the preview does not run in this format; the device's code when it refuses the format.
VEXCAP_API HRESULT vexcap_put_format(vexcap_context* context, uint32_t index);

// --- A context ---------------------------------------------------------------------------------------------------

/// Makes a context for a device; nothing is opened yet. vexcap_stop frees it.
/// @param owner         Owner of error boxes and timers. Without it limits by time do not work.
/// @param preview       Target of the messages and repaints of the picture.
/// @param device        A record of vexcap_enum_device, or one that the host filled.
/// @param d3dDevice, d3dContext, renderTarget  The accelerated drawing road, or null.
/// @return Null for a missing record, name or display name, a kind that cannot be opened here, a name that no video
///         input device could have, or no memory.
VEXCAP_API vexcap_context* vexcap_device(vex_window* owner, vex_window* preview, const vex_device* device,
                                         void* d3dDevice, void* d3dContext, vex_render_target* renderTarget);

/// Makes a context that plays a media file; nothing is opened yet. vexcap_stop frees it.
/// @return Null for a null or empty path, or no memory.
VEXCAP_API vexcap_context* vexcap_file(vex_window* owner, vex_window* preview, const vex_char* path);

/// Opens the source, builds the preview and runs it; what ran before is stopped first.
/// @param still               Window that gets the still message, may be null.
/// @param stillMessage        Posted to it for each still. wparam: height << 16 | width, lparam: the frame's tag. (The
///                            size message of vexcap_init has its two sides apart.)
/// @param stillWanted         Non-zero: stills are wanted from a video input device.
/// @param stillFollowsPreview Non-zero: its stills have the preview's size.
/// @param retryStart          Non-zero: a video input device is tried for 8 seconds.
/// @return S_OK; E_POINTER for a null context; E_FAIL when the source cannot be opened, is busy, reports a bit depth
///         below 8 or cannot be run; E_FAIL, and preview and recording go on untouched, while a recording is open
///         (vexcap_stop_capture first); E_INVALIDARG without a source; a source's own code otherwise.
VEXCAP_API HRESULT vexcap_start(vexcap_context* context, vex_window* still, uint32_t stillMessage, uint32_t stillWanted,
                                uint32_t stillFollowsPreview, uint32_t retryStart);

/// Ends everything and frees the context: source, recording (its file becomes whole), preview.
VEXCAP_API void vexcap_stop(vexcap_context* context);

/// 1 when the source is open.
VEXCAP_API uint32_t vexcap_fsource(vexcap_context* context);

/// 1 while the preview runs. 0 while a recording goes through a compressor, which has taken the preview over, though
/// the picture goes on: vexcap_fcapturing is 1 then.
VEXCAP_API uint32_t vexcap_fpreviewing(vexcap_context* context);

/// Handles the events of the source. Called for each event message. A lost source stops the preview and shows a box;
/// a recording of a camera stays open until vexcap_stop_capture, one of a video input device is ended. A file that was
/// played to its end stops and goes back to its beginning. Always 0.
VEXCAP_API int32_t vexcap_notify(vexcap_context* context);

/// Size of the whole picture of the source in its present resolution, in pixels: before region of interest, binning and
/// rotation, see vexcap_picture_size. Null outs are skipped. 1, or 0 for a null context, which leaves the outs alone.
VEXCAP_API int32_t vexcap_video_size(vexcap_context* context, int32_t* width, int32_t* height);

/// Layout of the frames that come: their size after region of interest, binning and rotation, depths and FourCC, and
/// the room that each kind of grab needs. As the source is set now: a frame that is on its way may still have the
/// layout of before. The size message says when frames begin to have another size.
/// @param format  The caller's; its `size` is set before the call, and nothing beyond it is written.
/// @return 1; 0 for null arguments, a `size` below 48, without an open source, and when the source cannot report its
///         size: nothing is written then.
VEXCAP_API int32_t vexcap_picture_size(vexcap_context* context, vex_picture_format* format);

/// Frames since the start and the present rate as texts (a file that went back to its beginning has counted the picture
/// there, too), "%u" and "%.1f" with the decimal point of the process's locale; each out has room for 32 characters.
/// 1 when a source answered, else 0.
VEXCAP_API int32_t vexcap_get_property(vexcap_context* context, vex_char* countText, vex_char* rateText);

/// With a null identifier the camera handle of a started camera (ICamera of vexcap/camera_library.h): it stays the
/// context's, and is gone after vexcap_stop or the next vexcap_start. Null otherwise.
VEXCAP_API void* vexcap_get_interface(vexcap_context* context, const vex_guid* iid);

// --- The picture of a video input device -------------------------------------------------------------------------
// These hold for preview, recording and stills, and stay over a change of format. On other sources they do nothing,
// and read 0.

/// Bit 0 mirrors left and right, bit 1 top and bottom. Mask bit 0 takes bit 0 of `value`, else mask bit 1 takes bit 1:
/// one bit in one call.
VEXCAP_API void vexcap_put_flip(vexcap_context* context, uint32_t value, uint32_t mask);
VEXCAP_API uint32_t vexcap_get_flip(vexcap_context* context);

/// Non-zero shows grey.
VEXCAP_API void vexcap_put_chrome(vexcap_context* context, uint32_t on);
VEXCAP_API uint32_t vexcap_get_chrome(vexcap_context* context);

/// Non-zero shows the negative.
VEXCAP_API void vexcap_put_negative(vexcap_context* context, uint32_t on);
VEXCAP_API uint32_t vexcap_get_negative(vexcap_context* context);

// --- Dark field --------------------------------------------------------------------------------------------------
// A mean of frames taken with the light off is subtracted from each frame, and its hot pixels are mended. For video
// input devices and files; a camera of the camera library refuses. A new picture size discards the dark frame.

/// 1 while the correction is on.
VEXCAP_API int32_t vexcap_is_dfc(vexcap_context* context);

/// 1 when there is a dark frame.
VEXCAP_API int32_t vexcap_has_dfc(vexcap_context* context);

/// Switches the correction on or off; it shows once there is a dark frame.
VEXCAP_API void vexcap_dfc_enable(vexcap_context* context, uint32_t on);

/// Takes the mean of the next `count` frames as dark frame (0 counts as 1). dfcMessage goes to the owner window for
/// each of them, wparam: frames so far, lparam: `count`; and with 0, 0 when the dark frame is there.
/// @return 1 when it began, 0 when there is no picture yet; E_INVALIDARG for a source without dark field.
VEXCAP_API HRESULT vexcap_dfc_capture(vexcap_context* context, uint32_t count);

/// Reads a dark frame from a Windows bitmap of 24 bits, uncompressed, bottom-up, its pixels right behind its 54 bytes
/// of headers. @return S_OK; E_INVALIDARG for a source without dark field and for a picture of another size; E_FAIL for
/// a file that is not like this.
VEXCAP_API HRESULT vexcap_dfc_import(vexcap_context* context, const vex_char* path);

/// Writes the dark frame as such a bitmap. @return S_OK; E_UNEXPECTED without a dark frame; E_FAIL when the file cannot
/// be written; E_INVALIDARG for a source without dark field.
VEXCAP_API HRESULT vexcap_dfc_export(vexcap_context* context, const vex_char* path);

// --- Grabs and stills --------------------------------------------------------------------------------------------

/// What a grab copies.
enum {
    VEX_GRAB_DISPLAY = 0,  ///< The display picture, 24 bits a pixel.
    VEX_GRAB_RAW = 1,      ///< The sensor's samples, 8 or 16 bits, rows without padding; biCompression is their FourCC.
    VEX_GRAB_DEEP = 2      ///< Three 16-bit samples a pixel; biBitCount is three times the device's depth.
};

/// Chooses what camera frames bring beside the display picture, from the next frames on: VEX_GRAB_...; 0, where it
/// begins, is the display picture alone. It holds until another call, over a new start, too.
/// @return S_OK; E_NOTIMPL for VEX_GRAB_DEEP on a device of 8 bits, which is remembered all the same; E_UNEXPECTED
///         without a started camera.
VEXCAP_API HRESULT vexcap_put_capture(vexcap_context* context, uint32_t kind);

/// Copies the present picture, or the last still. vexcap_grab_info describes what was copied.
/// @param bitmap    Gets a vex_bitmap_header and the pixels right behind it, rows from the bottom to the top.
/// @param capacity  Bytes behind the header; see vexcap_grab_room and vexcap_picture_size.
/// @param kind      VEX_GRAB_...
/// @param still     Non-zero: the still.
/// @param left, top, right, bottom  Pixels from each side that the overlay keeps free. A display picture gets the
///                  overlay while marker_get_captureafter is not 0.
/// @return 1, or 0 for null arguments, when there is no such picture, or when it does not fit: nothing is written then.
VEXCAP_API int32_t vexcap_grabber(vexcap_context* context, void* bitmap, int32_t capacity, int32_t kind, int32_t still,
                                  int32_t left, int32_t top, int32_t right, int32_t bottom);

/// 1 when a grab of this kind would copy a picture of the preview now: VEX_GRAB_RAW and VEX_GRAB_DEEP need
/// vexcap_put_capture and a frame that came after it.
VEXCAP_API int32_t vexcap_can_grabber(vexcap_context* context, uint32_t kind);

/// Bytes of the picture that vexcap_grabber would copy now: the `capacity` that it needs behind the header.
/// vexcap_picture_size reports the same for the frames to come, before there is one.
/// @param kind   VEX_GRAB_...
/// @param still  Non-zero: the still.
/// @return 0 for a null context and where there is no such picture.
VEXCAP_API int32_t vexcap_grab_room(vexcap_context* context, uint32_t kind, int32_t still);

/// Number, time and age of the picture that the last successful vexcap_grabber of this context copied.
/// @param info  The caller's; its `size` is set before the call, and nothing beyond it is written.
/// @return 1; 0 for null arguments, a `size` below 32, and before the first grab: nothing is written then.
VEXCAP_API int32_t vexcap_grab_info(vexcap_context* context, vex_grab_info* info);

/// Reads points of the present picture.
/// @param points   From the top left; those outside are left out, without a gap in `rgb`.
/// @param rgb      Red, green, blue of each point, in the depth of the picture.
/// @param maximum  Gets the largest value that a sample can have, where that is known; may be null.
/// @return How many points were written; 0 without a picture or for null points or values; E_UNEXPECTED without a
///         preview.
VEXCAP_API int32_t vexcap_get_pixel(vexcap_context* context, const vex_point* points, uint32_t count, uint16_t* rgb,
                                    uint32_t* maximum);

/// Size of stills in pixels, 0 where there are none. 1, or 0 for a null context, which leaves the outs alone.
VEXCAP_API int32_t vexcap_stillimage_size(vexcap_context* context, int32_t* width, int32_t* height);

/// How many sizes stills can have; 1 for a video input device that takes stills; 0 for none.
VEXCAP_API uint32_t vexcap_has_stillimage(vexcap_context* context);

/// 1 when a still may be taken now: the source takes stills, and its preview runs.
VEXCAP_API int32_t vexcap_can_grabber_stillimage(vexcap_context* context);

/// Asks for one still. It comes later: the still message of vexcap_start is posted, and vexcap_grabber copies it.
/// @param value  Handed to the camera library unread.
/// @return 1 when it was asked for.
VEXCAP_API int32_t vexcap_grabber_stillimage(vexcap_context* context, void* value);

/// Ten times the mean brightness of a rectangle of the picture is posted to a window with each shown frame, as wparam.
/// Null for the rectangle ends it.
VEXCAP_API void vexcap_set_greycalibration(vexcap_context* context, const vex_rect* rectangle, vex_window* window,
                                           uint32_t message);

// --- Playback ----------------------------------------------------------------------------------------------------
// Positions are in units of 100 nanoseconds.

/// 1 running, 2 paused, 3 stopped, 0 never started.
VEXCAP_API uint32_t vexcap_get_state(vexcap_context* context);

/// 3 stops, 2 pauses what runs, 1 goes on. Other changes do nothing.
VEXCAP_API void vexcap_set_state(vexcap_context* context, uint32_t state);

/// Duration and abilities of a started file: bit 0 absolute positions, 1 forwards, 2 backwards, 3 present position,
/// 5 duration. 1, or 0 for a null context, which leaves the outs alone.
VEXCAP_API int32_t vexcap_get_seek(vexcap_context* context, int64_t* duration, uint32_t* caps);

/// Goes to a position of a file; one that is stopped shows the picture there.
VEXCAP_API void vexcap_set_pos(vexcap_context* context, int64_t position);

/// Position in the file being played; -1 for a null context and for every other source: an answer, not a failure.
VEXCAP_API int64_t vexcap_get_pos(vexcap_context* context);

// --- Recording ---------------------------------------------------------------------------------------------------

/// Records as the remembered settings say (vexcap/settings.h). A running preview is needed.
/// @param skipMediaFoundation  Non-zero: the network library's encoder is used where there is a choice.
/// @param quick       Non-zero: at once, under the name that vexcap_auto_path makes; the user is asked about an
///                    existing file. In astro mode the settings of names are not read: the file is called ".avi" then,
///                    in the documents folder. Zero: the recording wizard asks first.
/// @param promptFlag  Belongs to the host, may be null. While the flag is not 0 a quick start asks for a name; the user
///                    can clear it there.
/// @return S_OK; VEX_E_CANCELLED when the user said no, or where no window can be shown; E_FAIL for a null context,
///         without a source, or when the file cannot be made; VEX_E_NO_ENCODER when nothing encodes the chosen format;
///         the camera's code when it does not report its size or format. All but a null context and VEX_E_CANCELLED are
///         shown in a box.
VEXCAP_API HRESULT vexcap_start_capture_micro(vexcap_context* context, uint8_t skipMediaFoundation, uint8_t quick,
                                              uint8_t* promptFlag);

/// Records to a file without asking: a path that ends in ".avi" gets the display pictures, 24 bits a pixel, at the rate
/// that they come at; any other one gets the raw frames of a telescope camera as SER, for which astro mode is needed.
/// A running preview is needed. An existing file is replaced. An AVI file is recorded in the same way as by
/// vexcap_start_capture_avi without a compressor, with a frame limit beside the time limit; any mode and camera.
/// @param path     The file; at most 259 characters.
/// @param seconds  Time limit, 0 or less for none. It needs the owner window.
/// @param frames   Frame limit, 0 or less for none: exactly that many frames are kept.
/// @return S_OK; E_FAIL for a null context, without a source, or when the file cannot be made; the camera's code when
///         it does not report its size or format. A failure is shown in a box. A camera that reports a size or depth of
///         0 records nothing, and the result is S_OK: vexcap_fcapturing is 0 then.
VEXCAP_API HRESULT vexcap_start_capture_astro(vexcap_context* context, const vex_char* path, int32_t seconds,
                                              int32_t frames);

/// The compressors for AVI files, as an array like that of vexcap_enum_device: `name` identifies a compressor, also in
/// the setting AviCodec, `display` is what a user sees, `kind` is 0. Null when there is none. The host frees it
/// with vexcap_free_dsvi.
VEXCAP_API vex_device* vexcap_enum_codec(void);

/// Records to an AVI file without asking, through a compressor; an existing file is replaced. A running preview is
/// needed; a video input device keeps its preview meanwhile.
/// @param path     The file; at most 259 characters.
/// @param codec    `name` or `display` of a compressor of vexcap_enum_codec; null: uncompressed. Its quality is the
///                 setting CaptureQuality.
/// @param seconds  Time limit, 0 or less for none. It needs the owner window.
/// @return S_OK; E_INVALIDARG for a compressor that is not there or that cannot take this size; E_FAIL for a null
///         context, without a source, or when the recording cannot begin. A failure is shown in a box.
VEXCAP_API HRESULT vexcap_start_capture_avi(vexcap_context* context, const vex_char* path, const vex_char* codec,
                                            int32_t seconds);

/// Time lapse of the recordings that begin after this call: one frame in `every` is kept, the first one is. 1, where it
/// begins, and 0 keep all. A wizard that asks the user overrules it.
VEXCAP_API void vexcap_put_timelapse(vexcap_context* context, uint32_t every);

/// Ends the recording; its file is whole afterwards. A SER recording without a frame leaves no file; an AVI file gets
/// its real frame rate when it was recorded for more than a second.
VEXCAP_API void vexcap_stop_capture(vexcap_context* context);

/// 1 while a recording runs.
VEXCAP_API uint32_t vexcap_fcapturing(vexcap_context* context);

/// Tick at which the recording began.
VEXCAP_API uint32_t vexcap_lcapstarttime(vexcap_context* context);

/// Frames kept, or handed to a compressor; 0 when idle.
VEXCAP_API uint32_t vexcap_dwframecount(vexcap_context* context);

/// Frame limit, 0 for none.
VEXCAP_API uint32_t vexcap_dwframelimit(vexcap_context* context);

/// Time limit in seconds, 0 for none.
VEXCAP_API uint32_t vexcap_dwtimelimit(vexcap_context* context);

/// Path of the running recording, into 260 characters. 0 when idle.
VEXCAP_API int32_t vexcap_filepath(vexcap_context* context, vex_char* buffer260);

/// KiB of frames written so far, in astro mode; 0 when idle, and outside of astro mode: vexcap_recording has the bytes
/// of every recording.
VEXCAP_API uint64_t vexcap_filesize(vexcap_context* context);

/// What became of the frames of the running recording, or of the last one when none runs: the numbers stay until the
/// next start. 1, or 0 for null arguments or when nothing was recorded yet.
VEXCAP_API int32_t vexcap_recording(vexcap_context* context, vex_recording_counts* counts);

VEXCAP_EXTERN_C_END
#endif
