/// The contract of a camera library: what a shared library must export, and how its cameras behave, so that
/// vexcap_init can be given its path and prefix. The program vexcap-camera-contract checks a library against it.
///
/// A library exports C functions whose names are made of the host's prefix and an underscore (`Vexcam_EnumV2`). EnumV2
/// and Open are needed. calc_ClarityFactor, InitOcl, OpenStatus and Watch are optional: without them there is no
/// clarity factor, no picture in a shared texture, no reason for an Open that fails, and no news of cameras that come
/// and go. The engine tests each name before each call; a missing one acts as null, 0 or E_FAIL.
///
/// Objects. A camera is an object with a table of operations: QueryInterface, AddRef and Release first, then the
/// operations in the order below. In C++ it is an abstract class, in C a struct whose first member points to the table;
/// both are the same in memory (Itanium C++ ABI). The numbers behind the operations count QueryInterface as 0.
///
/// Life. Open returns a camera with one reference, and Close gives that reference back. An interface from
/// QueryInterface is the same camera under another table; it holds a reference until its Release. VEX_IID_UNKNOWN is
/// answered with the same pointer under every table. Close ends the stream, so that no callback runs or comes any more
/// once it returned, and the camera must not be used after it. A camera that was closed can be opened again at once. A
/// second Open of an open camera returns null, or another object with settings and a stream of its own. Either way the
/// first one goes on undisturbed.
///
/// Threads. Every operation is called on the engine's host thread, outside of callbacks, but for these reads that the
/// engine makes from inside the event callback: GetSize, QueryInterface and Release, and the still interface's count
/// and size. Frames, buffers, raw frames and events come on threads of the library, one frame at a time. Stop and Close
/// wait for a running callback to return. An event may come at any time between StartPull and Stop. The loss of a
/// stream is reported in this order: the state, a null frame, the state event. Nothing comes after them.
///
/// Results. A failure leaves settings and outs as they were; QueryInterface alone sets its out to null. A null out
/// fails with E_POINTER, but for those that an operation calls optional. An operation that a camera does not have
/// returns E_NOTIMPL.
///
/// Frames. Rows run from the bottom to the top. A display frame has 3 bytes a pixel, blue first, and a row stride of
/// ((width * 24 + 31) / 32) * 4 bytes. A deep frame has three 16-bit samples a pixel, blue first, low-aligned, and a
/// row stride of ((width * 48 + 31) / 32) * 4 bytes. A raw frame has one sample a pixel as the sensor delivers it, 8
/// bits at a depth of 8 and else 16 bits, low byte first, low-aligned, with no padding between rows. All three show the
/// same exposure, after region of interest, binning and rotation, so that all have the size of the frame info record:
/// the region's or else the resolution's size, divided by binning, rounded down to even sides, turned.
///
/// The camera must survive any answer of the engine. A buffer callback that returns null for the display picture gets
/// it in memory of the camera's own; null for another picture means that this one is not wanted.
#ifndef VEXCAP_CAMERA_LIBRARY_H
#define VEXCAP_CAMERA_LIBRARY_H

#include <vexcap/types.h>

VEXCAP_EXTERN_C_BEGIN

/// Room for EnumV2, in entries. A larger count is cut to this number.
#define VEX_CAMERA_ENTRIES 16

/// One camera of the list, 264 bytes. No string is empty and no identifier stands in the list twice. Strings without a
/// terminator are read to their 64 characters.
typedef struct vex_camera_entry {
    vex_char display[64];     ///< What a user sees.
    vex_char identifier[64];  ///< The name for Open, behind the open-mode character.
    const void* model;        ///< The library's own; the engine does not read it.
} vex_camera_entry;

/// Open-mode characters: first character of the name for Open. They say what the engine wants of the camera.
enum {
    VEX_OPEN_ASTRO = '$',    ///< Telescope camera: raw recording.
    VEX_OPEN_GAINS = '&',    ///< Microscope camera; white balance is read as three gains.
    VEX_OPEN_TEMPTINT = '!'  ///< Microscope camera; white balance is read as temperature and tint.
};

/// Events of the event callback. Any other number is passed to the host as it is.
enum {
    VEX_CAMERA_EVENT_SIZE = 0x8001,  ///< The frame size or the still size changed; the new one can be read.
    VEX_CAMERA_EVENT_STATE = 0x8002  ///< The state of the status interface changed.
};

/// States of the status interface.
enum {
    VEX_CAMERA_STATE_OK = 0,
    VEX_CAMERA_STATE_NO_FRAMES = 1,  ///< Open, but nothing comes.
    VEX_CAMERA_STATE_FAILED = 2,     ///< A failure of the device or its connection.
    VEX_CAMERA_STATE_REMOVED = 3     ///< The device is gone.
};

/// Option numbers of PutOption and GetOption that the engine uses. An unknown number fails with E_NOTIMPL. Every camera
/// has the first two; one without binning or rotation answers E_NOTIMPL, or takes the value that changes nothing.
enum {
    VEX_OPTION_RECORDING = 1,    ///< 1 while a graph source is set up or no recording runs, 0 when one starts.
    VEX_OPTION_FRAME_RATE = 17,  ///< Display frames a second at most; raw frames are not limited by it. 0: no limit.
                                 ///< Any positive number is accepted, a negative one refused; the engine sets 2 to 100.
    VEX_OPTION_BINNING = 23,     ///< Low four bits: the factor that both sides are divided by, 1 for none. What results
                                 ///< is made even: rounded down.
    VEX_OPTION_ROTATION = 24     ///< Degrees clockwise: 0, 90, 180, 270. Raw frames and their mosaic turn too.
};

/// What comes with a frame.
/// Numbers rise, and a gap means frames that were lost on the way. Frames that a pause held back are not counted: the
/// first frame after a pause continues the numbers. A still has no number of its own; it carries that of the sensor
/// frame that comes next.
typedef struct vex_frame_info {
    uint32_t sequence;   ///< Number of the sensor frame since StartPull, from 0.
    uint32_t width;      ///< Pixels.
    uint32_t height;     ///< Pixels.
    uint32_t reserved;   ///< 0.
    uint64_t timestamp;  ///< Start of the exposure in 100-nanosecond units of a steady clock of the library's or the
                         ///< device's choice; 0 when unknown. It never goes back within a stream. Differences have a
                         ///< meaning, the value itself has none: it is neither UTC nor a clock of the host.
} vex_frame_info;

/// The shared texture that the engine offers to StartPull; TextureAccepted says whether the camera fills it.
typedef struct vex_texture_target {
    void* device;
    void* context;
    void* texture;
} vex_texture_target;

/// A display or still frame. `frame` is the display picture, or the value 1 when the shared texture was filled.
/// Null for `frame` or `info` says that the stream is lost. `still` is 1 for a frame that Snap asked for.
/// `raw` and `deep` are the room of the buffer callback when they were filled, and else null.
/// `depthFlag` is non-zero when samples have more than 8 bits, 0 when they have 8.
/// `tag` is the FourCC of the raw frame, 0 for mono. `frameTag` goes to the host unread.
typedef void (*vex_camera_frame_callback)(const void* frame, const vex_frame_info* info, uint32_t still,
                                          const void* raw, const void* deep, uint32_t depthFlag, uint32_t tag,
                                          uint64_t frameTag, void* context);

/// Asks the engine where the next frame's pictures are to be written. The outs are optional; the answers may be null.
/// The room stays valid until the frame callback of this frame returned.
/// Room for the display picture holds the largest frame that the camera reported; see GetSize and the size event.
typedef void (*vex_camera_buffer_callback)(uint32_t still, void** display, void** raw, void** deep, void* context);

/// Reports that something happened, VEX_CAMERA_EVENT_... or a number of the library's own.
typedef void (*vex_camera_event_callback)(uint32_t event, void* context);

/// Every raw frame of the sensor, in order, before its display frame. The memory is the camera's and is valid until
/// the callback returns. `fourcc` is 0 for mono, and names the mosaic from the first row in memory; `depth` is the
/// number of bits of a sample.
typedef void (*vex_camera_raw_callback)(const void* raw, const vex_frame_info* info, uint32_t fourcc, uint32_t depth,
                                        void* context);

/// Number of controls, see vex_camera_controls.
enum {
    VEX_CONTROL_EXPOSURE = 1,       ///< Microseconds.
    VEX_CONTROL_GAIN = 2,           ///< Percent of the sensor's own amplification, 100 for none.
    VEX_CONTROL_BLACK_LEVEL = 3,    ///< Counts at the present depth.
    VEX_CONTROL_BIT_DEPTH = 4,      ///< Bits of a raw sample. During a stream, too: the frames to come have it.
    VEX_CONTROL_FRAME_RATE = 5,     ///< Sensor frames a second at most; 0: as fast as exposure and size allow.
    VEX_CONTROL_TRIGGER_MODE = 6,   ///< 0 free running, 1 software trigger, 2 trigger line.
    VEX_CONTROL_FIRE = 7,           ///< Write only: that many software triggers.
    VEX_CONTROL_BALANCE_RED = 8,    ///< White balance: percent by which red samples are amplified, 100 for none, in raw
                                    ///< frames, too.
    VEX_CONTROL_BALANCE_GREEN = 9,  ///< The same for green.
    VEX_CONTROL_BALANCE_BLUE = 10   ///< The same for blue.
};

#ifdef __cplusplus
}  // extern "C"

/// First three operations of every object.
struct IVexUnknown {
    /// 0. Sets `out` to the object under another table, with a reference; else to null, with E_NOINTERFACE.
    virtual HRESULT QueryInterface(const vex_guid& iid, void** out) = 0;
    /// 1. One reference more; returns the count.
    virtual uint32_t AddRef() = 0;
    /// 2. One reference less; returns the count.
    virtual uint32_t Release() = 0;

protected:
    ~IVexUnknown() = default;
};

/// A camera.
struct ICamera : IVexUnknown {
    /// 3. Size of a frame of the present resolution before region, binning and rotation, in pixels.
    virtual HRESULT GetSize(int32_t* width, int32_t* height) = 0;
    /// 4. Index of the present resolution.
    virtual HRESULT GetEsize(uint32_t* index) = 0;
    /// 5. White balance as red, green, blue gains; E_NOTIMPL without one.
    virtual HRESULT GetWhiteBalanceGains(int32_t gains[3]) = 0;
    /// 6. Exposure in microseconds, at least 1.
    virtual HRESULT GetExposureTime(uint32_t* microseconds) = 0;
    /// 7. Count of resolutions; negative when it is unknown.
    virtual int32_t GetResolutionCount() = 0;
    /// 8. A resolution, in pixels; an index that is not there is refused.
    virtual HRESULT GetResolution(uint32_t index, int32_t* width, int32_t* height) = 0;
    /// 9. White balance as colour temperature in kelvin and tint; E_NOTIMPL without one.
    virtual HRESULT GetTempTint(int32_t* temperature, int32_t* tint) = 0;
    /// 10. Largest number of bits of a sample, 8 to 16. The engine refuses a camera with less than 8.
    virtual uint32_t GetBitDepth() = 0;
    /// 11. Region of interest in pixels of the present resolution; x and y are optional.
    virtual HRESULT GetRoi(uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height) = 0;
    /// 12. Sensor frames, shown or not, of the last seconds, and how many milliseconds these are; sensor frames since
    /// StartPull, 0 before it. The library chooses the time, the quotient is the rate: about two seconds are usual.
    virtual HRESULT GetFrameRate(uint32_t* frames, uint32_t* milliseconds, uint32_t* total) = 0;
    /// 13. Sets an option, VEX_OPTION_... Any time. A value that the option does not have is refused.
    virtual HRESULT PutOption(uint32_t number, int32_t value) = 0;
    /// 14. Reads an option: the value that was set last.
    virtual HRESULT GetOption(uint32_t number, int32_t* value) = 0;
    /// 15. Starts the stream, numbers and counters at 0. E_POINTER without a frame callback; `buffer` and `event` are
    /// optional. A second call during a stream is refused, and the stream goes on. The zeros are reserved, `texture` is
    /// null when no shared texture is offered.
    virtual HRESULT StartPull(uint32_t zero0, uint32_t zero1, vex_camera_frame_callback frame,
                              vex_camera_buffer_callback buffer, void* context, vex_camera_event_callback event,
                              void* eventContext, uint32_t zero2, uint32_t zero3, const vex_texture_target* texture,
                              uint32_t one) = 0;
    /// 16. Ends the stream. No callback runs or comes once it returned. Without a stream: S_OK.
    virtual HRESULT Stop() = 0;
    /// 17. Ends the stream and gives the opener's reference back.
    virtual void Close() = 0;
    /// 18. Asks for `count` still frames at still resolution `index`, 0xFFFFFFFF for the one set. They come beside the
    /// stream, `count` of them in all. A camera without stills refuses. `value` passes unread.
    virtual HRESULT Snap(uint32_t index, uint32_t count, void* value) = 0;
    /// 19. 1: the stream holds, and no frame comes but one that was on its way. 0: it goes on. Stop ends a held stream
    /// too, and the next one does not hold.
    virtual HRESULT Pause(uint32_t pause) = 0;
    /// 20. 1: every sensor frame is delivered as a display frame; the frame-rate option rests. 0: it holds again.
    virtual HRESULT Trigger(uint32_t on) = 0;
    /// 21. After StartPull: 1 when the camera fills the shared texture, 0 when none was offered.
    virtual uint32_t TextureAccepted() = 0;
    /// 22. Hands three pointers of the host to the camera's own pipeline; any may be null.
    virtual HRESULT PipelineOcl(void* a, void* b, void* c) = 0;

protected:
    ~ICamera() = default;
};

/// {F58A8E13-175A-40DB-A2B2-41CA3407CB96}
struct ICameraStatus : IVexUnknown {
    /// 3. State, VEX_CAMERA_STATE_...
    virtual HRESULT GetState(uint32_t* state) = 0;
    /// 4. Sensor frames lost between the sensor and the callbacks since StartPull: at least the gaps in the numbers.
    virtual HRESULT GetLostFrames(uint32_t* lost) = 0;
    /// 5. Highest frame rate of a resolution, in frames a second, at least 1.
    virtual HRESULT GetMaxFrameRate(uint32_t index, uint32_t* rate) = 0;

protected:
    ~ICameraStatus() = default;
};

/// {E978EEA0-A0FF-465F-AB35-65907B8C62AC}
struct ICameraStill : IVexUnknown {
    /// 3. Size of the next still frame.
    virtual HRESULT GetStillSize(uint32_t* width, uint32_t* height) = 0;
    /// 4. Chooses the still resolution.
    virtual HRESULT SetStillIndex(uint32_t index) = 0;
    /// 5. Count of still resolutions; 0 or negative when there is none.
    virtual int32_t GetStillCount() = 0;
    /// 6. A still resolution; 0 is the largest.
    virtual HRESULT GetStillResolution(uint32_t index, int32_t* width, int32_t* height) = 0;

protected:
    ~ICameraStill() = default;
};

/// {66B8EAB5-B594-4141-95FC-691A81B445F6}
struct ICameraPreviewSize : IVexUnknown {
    /// 3. Index of the present resolution.
    virtual HRESULT GetPreviewIndex(uint32_t* index) = 0;
    /// 4. Its size.
    virtual HRESULT GetPreviewSize(int32_t* width, int32_t* height) = 0;
    /// 5. Chooses the resolution; between two streams. The region of interest becomes the whole frame.
    virtual HRESULT SetPreviewIndex(uint32_t index) = 0;

protected:
    ~ICameraPreviewSize() = default;
};

/// {1B0E0C58-5D1F-4C5F-9A57-7C2D6B1E9A41}
struct ICameraRaw : IVexUnknown {
    /// 3. Mosaic from the first row in memory ("RGGB" as 0x42474752), 0 for mono; bits of a sample.
    virtual HRESULT GetRawFormat(uint32_t* fourcc, uint32_t* depth) = 0;
    /// 4. Registers the callback of raw frames, null ends it. Any time; once the call returned, the callback registered
    /// before neither runs nor comes.
    virtual HRESULT SetRawCallback(vex_camera_raw_callback callback, void* context) = 0;

protected:
    ~ICameraRaw() = default;
};

/// {8E2F6A17-3C44-4E0B-8D0A-52B7F1C6D903}
struct ICameraControls : IVexUnknown {
    /// 3. Limits and default of a control; E_NOTIMPL for one that the camera does not have, here and below.
    virtual HRESULT GetRange(uint32_t control, int32_t* minimum, int32_t* maximum, int32_t* defaultValue) = 0;
    /// 4. Its value: the one set last, within the limits.
    virtual HRESULT Get(uint32_t control, int32_t* value) = 0;
    /// 5. Sets it; E_INVALIDARG outside the limits, nothing changed.
    virtual HRESULT Put(uint32_t control, int32_t value) = 0;
    /// 6. Region of interest in pixels of the present resolution; even numbers; a size of 0, 0 is the whole frame.
    /// E_INVALIDARG when it does not fit. Between two streams, or during one: then a size event follows, and the frames
    /// after it have the new size.
    virtual HRESULT PutRoi(uint32_t x, uint32_t y, uint32_t width, uint32_t height) = 0;

protected:
    ~ICameraControls() = default;
};

/// Optional, for a camera with controls. {5C0B8B0E-6A0D-4B57-9E63-1F3D0A7C24D5}
struct ICameraSteps : IVexUnknown {
    /// 3. Step of a control: each value that the camera takes is the minimum and a multiple of the step. At least 1;
    /// E_NOTIMPL for a control that the camera does not have.
    virtual HRESULT GetControlStep(uint32_t control, int32_t* step) = 0;
    /// 4. Steps of the region of interest, in pixels of the present resolution; even numbers. PutRoi sets multiples of
    /// them exactly; other numbers are cut to the step below, or refused. They may change with resolution and binning.
    virtual HRESULT GetRegionStep(uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height) = 0;

protected:
    ~ICameraSteps() = default;
};

extern "C" {
#else
typedef struct ICamera ICamera;
#endif

/// <prefix>_EnumV2: fills the list and returns the count of cameras, VEX_CAMERA_ENTRIES at most.
typedef uint32_t (*vex_camera_enum)(vex_camera_entry entries[VEX_CAMERA_ENTRIES]);
/// <prefix>_Open: opens a camera by open-mode character and identifier. A camera of the list can be opened with one of
/// the characters at least, while nobody else has it. Null when it cannot be opened, for a null name, and for a name
/// that is no camera.
typedef ICamera* (*vex_camera_open)(const vex_char* name);
/// <prefix>_OpenStatus, optional: why the calling thread's last Open returned null, always a failure; S_OK when it
/// returned a camera. VEX_E_FILE_NOT_FOUND: there is no such camera. VEX_E_BUSY: another program has it, or it is open
/// here already. E_ACCESSDENIED: this user may not open it. E_INVALIDARG: the name is malformed. E_FAIL: anything else.
/// The engine asks right after Open; vexcap_start returns E_FAIL and vexcap_last_error this code.
typedef HRESULT (*vex_camera_open_status)(void);
/// Reports that the list of cameras changed, or may have. On a thread of the library.
typedef void (*vex_camera_list_callback)(void* context);
/// <prefix>_Watch, optional: registers the callback of changes of the list, null ends the watch; once it returned, the
/// callback registered before neither runs nor comes. The engine watches from vexcap_init to vexcap_fini when the host
/// has a device window. A library without a watch of its system may look at the list from time to time.
typedef HRESULT (*vex_camera_watch)(vex_camera_list_callback callback, void* context);
/// <prefix>_calc_ClarityFactor: how sharp a picture is; larger is sharper. 24 or 32 bits a pixel, bottom-up rows.
typedef double (*vex_camera_clarity)(const void* frame, uint32_t bitsPerPixel, uint32_t width, uint32_t height);
/// <prefix>_InitOcl: 0 when pictures can be delivered into shared textures. The answer does not change.
typedef int32_t (*vex_camera_init_ocl)(void);

/// The same interfaces for C: an object is a pointer to a pointer to its table, and every operation takes the object
/// first. The tables are declared below in the order above.
#ifndef __cplusplus
#define VEX_UNKNOWN_TABLE(Type)                                              \
    HRESULT (*QueryInterface)(Type * self, const vex_guid* iid, void** out); \
    uint32_t (*AddRef)(Type * self);                                         \
    uint32_t (*Release)(Type * self);

struct ICamera {
    const struct ICameraTable* table;
};
typedef struct ICameraTable {
    VEX_UNKNOWN_TABLE(ICamera)
    HRESULT (*GetSize)(ICamera* self, int32_t* width, int32_t* height);
    HRESULT (*GetEsize)(ICamera* self, uint32_t* index);
    HRESULT (*GetWhiteBalanceGains)(ICamera* self, int32_t* gains);
    HRESULT (*GetExposureTime)(ICamera* self, uint32_t* microseconds);
    int32_t (*GetResolutionCount)(ICamera* self);
    HRESULT (*GetResolution)(ICamera* self, uint32_t index, int32_t* width, int32_t* height);
    HRESULT (*GetTempTint)(ICamera* self, int32_t* temperature, int32_t* tint);
    uint32_t (*GetBitDepth)(ICamera* self);
    HRESULT (*GetRoi)(ICamera* self, uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height);
    HRESULT (*GetFrameRate)(ICamera* self, uint32_t* frames, uint32_t* milliseconds, uint32_t* total);
    HRESULT (*PutOption)(ICamera* self, uint32_t number, int32_t value);
    HRESULT (*GetOption)(ICamera* self, uint32_t number, int32_t* value);
    HRESULT(*StartPull)
    (ICamera* self, uint32_t zero0, uint32_t zero1, vex_camera_frame_callback frame, vex_camera_buffer_callback buffer,
     void* context, vex_camera_event_callback event, void* eventContext, uint32_t zero2, uint32_t zero3,
     const vex_texture_target* texture, uint32_t one);
    HRESULT (*Stop)(ICamera* self);
    void (*Close)(ICamera* self);
    HRESULT (*Snap)(ICamera* self, uint32_t index, uint32_t count, void* value);
    HRESULT (*Pause)(ICamera* self, uint32_t pause);
    HRESULT (*Trigger)(ICamera* self, uint32_t on);
    uint32_t (*TextureAccepted)(ICamera* self);
    HRESULT (*PipelineOcl)(ICamera* self, void* a, void* b, void* c);
} ICameraTable;

typedef struct ICameraStatus {
    const struct ICameraStatusTable* table;
} ICameraStatus;
typedef struct ICameraStatusTable {
    VEX_UNKNOWN_TABLE(ICameraStatus)
    HRESULT (*GetState)(ICameraStatus* self, uint32_t* state);
    HRESULT (*GetLostFrames)(ICameraStatus* self, uint32_t* lost);
    HRESULT (*GetMaxFrameRate)(ICameraStatus* self, uint32_t index, uint32_t* rate);
} ICameraStatusTable;

typedef struct ICameraStill {
    const struct ICameraStillTable* table;
} ICameraStill;
typedef struct ICameraStillTable {
    VEX_UNKNOWN_TABLE(ICameraStill)
    HRESULT (*GetStillSize)(ICameraStill* self, uint32_t* width, uint32_t* height);
    HRESULT (*SetStillIndex)(ICameraStill* self, uint32_t index);
    int32_t (*GetStillCount)(ICameraStill* self);
    HRESULT (*GetStillResolution)(ICameraStill* self, uint32_t index, int32_t* width, int32_t* height);
} ICameraStillTable;

typedef struct ICameraPreviewSize {
    const struct ICameraPreviewSizeTable* table;
} ICameraPreviewSize;
typedef struct ICameraPreviewSizeTable {
    VEX_UNKNOWN_TABLE(ICameraPreviewSize)
    HRESULT (*GetPreviewIndex)(ICameraPreviewSize* self, uint32_t* index);
    HRESULT (*GetPreviewSize)(ICameraPreviewSize* self, int32_t* width, int32_t* height);
    HRESULT (*SetPreviewIndex)(ICameraPreviewSize* self, uint32_t index);
} ICameraPreviewSizeTable;

typedef struct ICameraRaw {
    const struct ICameraRawTable* table;
} ICameraRaw;
typedef struct ICameraRawTable {
    VEX_UNKNOWN_TABLE(ICameraRaw)
    HRESULT (*GetRawFormat)(ICameraRaw* self, uint32_t* fourcc, uint32_t* depth);
    HRESULT (*SetRawCallback)(ICameraRaw* self, vex_camera_raw_callback callback, void* context);
} ICameraRawTable;

typedef struct ICameraControls {
    const struct ICameraControlsTable* table;
} ICameraControls;
typedef struct ICameraControlsTable {
    VEX_UNKNOWN_TABLE(ICameraControls)
    HRESULT(*GetRange)
    (ICameraControls* self, uint32_t control, int32_t* minimum, int32_t* maximum, int32_t* defaultValue);
    HRESULT (*Get)(ICameraControls* self, uint32_t control, int32_t* value);
    HRESULT (*Put)(ICameraControls* self, uint32_t control, int32_t value);
    HRESULT (*PutRoi)(ICameraControls* self, uint32_t x, uint32_t y, uint32_t width, uint32_t height);
} ICameraControlsTable;

typedef struct ICameraSteps {
    const struct ICameraStepsTable* table;
} ICameraSteps;
typedef struct ICameraStepsTable {
    VEX_UNKNOWN_TABLE(ICameraSteps)
    HRESULT (*GetControlStep)(ICameraSteps* self, uint32_t control, int32_t* step);
    HRESULT (*GetRegionStep)(ICameraSteps* self, uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height);
} ICameraStepsTable;
#endif

VEXCAP_EXTERN_C_END

/// Identifiers of the interfaces above.
static const vex_guid VEX_IID_UNKNOWN = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
static const vex_guid VEX_IID_CAMERA_STATUS = {
    0xF58A8E13, 0x175A, 0x40DB, {0xA2, 0xB2, 0x41, 0xCA, 0x34, 0x07, 0xCB, 0x96}};
static const vex_guid VEX_IID_CAMERA_STILL = {
    0xE978EEA0, 0xA0FF, 0x465F, {0xAB, 0x35, 0x65, 0x90, 0x7B, 0x8C, 0x62, 0xAC}};
static const vex_guid VEX_IID_CAMERA_PREVIEW_SIZE = {
    0x66B8EAB5, 0xB594, 0x4141, {0x95, 0xFC, 0x69, 0x1A, 0x81, 0xB4, 0x45, 0xF6}};
static const vex_guid VEX_IID_CAMERA_RAW = {
    0x1B0E0C58, 0x5D1F, 0x4C5F, {0x9A, 0x57, 0x7C, 0x2D, 0x6B, 0x1E, 0x9A, 0x41}};
static const vex_guid VEX_IID_CAMERA_CONTROLS = {
    0x8E2F6A17, 0x3C44, 0x4E0B, {0x8D, 0x0A, 0x52, 0xB7, 0xF1, 0xC6, 0xD9, 0x03}};
static const vex_guid VEX_IID_CAMERA_STEPS = {
    0x5C0B8B0E, 0x6A0D, 0x4B57, {0x9E, 0x63, 0x1F, 0x3D, 0x0A, 0x7C, 0x24, 0xD5}};

#ifdef __cplusplus
static_assert(sizeof(void*) != 8 || sizeof(vex_camera_entry) == 264, "record size");
static_assert(sizeof(vex_frame_info) == 24 && offsetof(vex_frame_info, width) == 4, "record layout");
#else
_Static_assert(sizeof(void*) != 8 || sizeof(vex_camera_entry) == 264, "record size");
_Static_assert(sizeof(vex_frame_info) == 24 && offsetof(vex_frame_info, width) == 4, "record layout");
#endif

#endif
