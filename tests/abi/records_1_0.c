// The records, numbers and tables of release 1.0, frozen by value: hosts and camera libraries of that release were
// compiled with them. A line that fails to compile names a break of the boundary: correct the header, never the line.
// Reserved fields are left out, as a later release may use them.
#include <vexcap/camera_library.h>
#include <vexcap/string_library.h>
#include <vexcap/vexcap.h>

_Static_assert(sizeof(void*) == 8, "the numbers are those of 64-bit systems");

// clang-format off

#define NUMBER(name, value) _Static_assert((name) == (value), #name)
#define RECORD(record, bytes) _Static_assert(sizeof(record) == (bytes), #record)
#define FIELD(record, field, type, offset, bytes)                                                   \
    _Static_assert(offsetof(record, field) == (offset) && sizeof(((record*)0)->field) == (bytes) && \
                       _Generic(((record*)0)->field, type: 1, default: 0),                          \
                   #record "." #field)
/// An operation of a table, counted from 0.
#define SLOT(table, operation, number, ...)                                           \
    _Static_assert(offsetof(table, operation) == (number) * sizeof(void (*)(void)) && \
                       _Generic(((table*)0)->operation, __VA_ARGS__: 1, default: 0),  \
                   #table "." #operation)

// Result codes.
NUMBER(S_OK, 0);
NUMBER(S_FALSE, 1);
NUMBER(E_NOTIMPL, (int32_t)0x80004001u);
NUMBER(E_NOINTERFACE, (int32_t)0x80004002u);
NUMBER(E_POINTER, (int32_t)0x80004003u);
NUMBER(E_FAIL, (int32_t)0x80004005u);
NUMBER(E_UNEXPECTED, (int32_t)0x8000FFFFu);
NUMBER(E_ACCESSDENIED, (int32_t)0x80070005u);
NUMBER(E_OUTOFMEMORY, (int32_t)0x8007000Eu);
NUMBER(E_INVALIDARG, (int32_t)0x80070057u);
NUMBER(VEX_E_FILE_NOT_FOUND, (int32_t)0x80070002u);
NUMBER(VEX_E_PATH_NOT_FOUND, (int32_t)0x80070003u);
NUMBER(VEX_E_DISK_FULL, (int32_t)0x80070070u);
NUMBER(VEX_E_INSUFFICIENT_BUFFER, (int32_t)0x8007007Au);
NUMBER(VEX_E_BUSY, (int32_t)0x800700AAu);
NUMBER(VEX_E_CANCELLED, (int32_t)0x800704C7u);
NUMBER(VEX_E_NO_ENCODER, (int32_t)0xC00D36B4u);

// Numbers.
NUMBER(VEX_CAMERA_ENTRIES, 16);
NUMBER(VEX_MESSAGE_INVALIDATE, 0);
NUMBER(VEX_OPEN_ASTRO, '$');
NUMBER(VEX_OPEN_GAINS, '&');
NUMBER(VEX_OPEN_TEMPTINT, '!');
NUMBER(VEX_CAMERA_EVENT_SIZE, 0x8001);
NUMBER(VEX_CAMERA_EVENT_STATE, 0x8002);
NUMBER(VEX_CAMERA_STATE_OK, 0);
NUMBER(VEX_CAMERA_STATE_NO_FRAMES, 1);
NUMBER(VEX_CAMERA_STATE_FAILED, 2);
NUMBER(VEX_CAMERA_STATE_REMOVED, 3);
NUMBER(VEX_OPTION_RECORDING, 1);
NUMBER(VEX_OPTION_FRAME_RATE, 17);
NUMBER(VEX_OPTION_BINNING, 23);
NUMBER(VEX_OPTION_ROTATION, 24);
NUMBER(VEX_CONTROL_EXPOSURE, 1);
NUMBER(VEX_CONTROL_GAIN, 2);
NUMBER(VEX_CONTROL_BLACK_LEVEL, 3);
NUMBER(VEX_CONTROL_BIT_DEPTH, 4);
NUMBER(VEX_CONTROL_FRAME_RATE, 5);
NUMBER(VEX_CONTROL_TRIGGER_MODE, 6);
NUMBER(VEX_CONTROL_FIRE, 7);
NUMBER(VEX_DIALOG_TITLE, 0);
NUMBER(VEX_DIALOG_OK, 1);
NUMBER(VEX_DIALOG_CANCEL, 2);
NUMBER(VEX_AUTO_FORMAT, 101);
NUMBER(VEX_AUTO_PREFIX, 102);
NUMBER(VEX_AUTO_SAMPLE, 103);
NUMBER(VEX_RECORD_BASE, 201);
NUMBER(VEX_RECORD_SUBFOLDERS, 202);
NUMBER(VEX_RECORD_BROWSE, 203);
NUMBER(VEX_RENAME_NAME, 301);
NUMBER(VEX_RENAME_DONT_SHOW, 302);
NUMBER(VEX_TEXT_CENTRE, 1);
NUMBER(VEX_TEXT_MIDDLE, 2);
NUMBER(VEX_KIND_CAMERA, 1);
NUMBER(VEX_KIND_NETWORK_LIST, 2);
NUMBER(VEX_KIND_VIDEO_INPUT, 3);
NUMBER(VEX_KIND_FILE, 4);
NUMBER(VEX_KIND_READER, 5);
NUMBER(VEX_KIND_NETWORK_CAMERA, 6);
NUMBER(VEX_MARKER_NONE, 0);
NUMBER(VEX_MARKER_CROSS, 1);
NUMBER(VEX_MARKER_RECTANGLE, 2);
NUMBER(VEX_MARKER_CIRCLE, 3);
NUMBER(VEX_MARKER_CROSS_RECTANGLE, 4);
NUMBER(VEX_MARKER_CROSS_CIRCLE, 5);
NUMBER(VEX_CORNER_TOP_LEFT, 1);
NUMBER(VEX_CORNER_TOP_RIGHT, 2);
NUMBER(VEX_CORNER_BOTTOM_LEFT, 3);
NUMBER(VEX_CORNER_BOTTOM_RIGHT, 4);
NUMBER(VEX_DATE_NONE, 0);
NUMBER(VEX_DATE_SHORT, 1);
NUMBER(VEX_DATE_LONG, 2);
NUMBER(VEX_DATE_NUMERIC, 3);
NUMBER(VEX_SETTING_NUMBER, 0);
NUMBER(VEX_SETTING_SIGNED, 1);
NUMBER(VEX_SETTING_CHOICE, 2);
NUMBER(VEX_SETTING_TEXT, 3);
NUMBER(VEX_NAME_SHORT_STAMP, 0);
NUMBER(VEX_NAME_LONG_STAMP, 1);
NUMBER(VEX_NAME_SHORT_DASHES, 2);
NUMBER(VEX_NAME_LONG_DASHES, 3);
NUMBER(VEX_NAME_SEQUENCE, 4);
NUMBER(VEX_NAME_AS_REMEMBERED, -1);
NUMBER(VEX_FOLDERS_NONE, 0);
NUMBER(VEX_FOLDERS_DATE, 1);
NUMBER(VEX_FOLDERS_YEAR_MONTH_DAY, 2);
NUMBER(VEX_FOLDERS_AS_REMEMBERED, -1);
NUMBER(VEX_GRAB_DISPLAY, 0);
NUMBER(VEX_GRAB_RAW, 1);
NUMBER(VEX_GRAB_DEEP, 2);

RECORD(vex_guid, 16);
FIELD(vex_guid, data1, uint32_t, 0, 4);
FIELD(vex_guid, data2, uint16_t, 4, 2);
FIELD(vex_guid, data3, uint16_t, 6, 2);
FIELD(vex_guid, data4, uint8_t*, 8, 8);

RECORD(vex_rect, 16);
FIELD(vex_rect, left, int32_t, 0, 4);
FIELD(vex_rect, top, int32_t, 4, 4);
FIELD(vex_rect, right, int32_t, 8, 4);
FIELD(vex_rect, bottom, int32_t, 12, 4);

RECORD(vex_point, 8);
FIELD(vex_point, x, int32_t, 0, 4);
FIELD(vex_point, y, int32_t, 4, 4);

RECORD(vex_camera_entry, 264);
FIELD(vex_camera_entry, display, vex_char*, 0, 128);
FIELD(vex_camera_entry, identifier, vex_char*, 128, 128);
FIELD(vex_camera_entry, model, const void*, 256, 8);

RECORD(vex_frame_info, 24);
FIELD(vex_frame_info, sequence, uint32_t, 0, 4);
FIELD(vex_frame_info, width, uint32_t, 4, 4);
FIELD(vex_frame_info, height, uint32_t, 8, 4);
FIELD(vex_frame_info, timestamp, uint64_t, 16, 8);

RECORD(vex_texture_target, 24);
FIELD(vex_texture_target, device, void*, 0, 8);
FIELD(vex_texture_target, context, void*, 8, 8);
FIELD(vex_texture_target, texture, void*, 16, 8);

RECORD(ICamera, 8);
FIELD(ICamera, table, const struct ICameraTable*, 0, 8);

RECORD(ICameraTable, 184);
SLOT(ICameraTable, QueryInterface, 0, HRESULT (*)(ICamera*, const vex_guid*, void**));
SLOT(ICameraTable, AddRef, 1, uint32_t (*)(ICamera*));
SLOT(ICameraTable, Release, 2, uint32_t (*)(ICamera*));
SLOT(ICameraTable, GetSize, 3, HRESULT (*)(ICamera*, int32_t*, int32_t*));
SLOT(ICameraTable, GetEsize, 4, HRESULT (*)(ICamera*, uint32_t*));
SLOT(ICameraTable, GetWhiteBalanceGains, 5, HRESULT (*)(ICamera*, int32_t*));
SLOT(ICameraTable, GetExposureTime, 6, HRESULT (*)(ICamera*, uint32_t*));
SLOT(ICameraTable, GetResolutionCount, 7, int32_t (*)(ICamera*));
SLOT(ICameraTable, GetResolution, 8, HRESULT (*)(ICamera*, uint32_t, int32_t*, int32_t*));
SLOT(ICameraTable, GetTempTint, 9, HRESULT (*)(ICamera*, int32_t*, int32_t*));
SLOT(ICameraTable, GetBitDepth, 10, uint32_t (*)(ICamera*));
SLOT(ICameraTable, GetRoi, 11, HRESULT (*)(ICamera*, uint32_t*, uint32_t*, uint32_t*, uint32_t*));
SLOT(ICameraTable, GetFrameRate, 12, HRESULT (*)(ICamera*, uint32_t*, uint32_t*, uint32_t*));
SLOT(ICameraTable, PutOption, 13, HRESULT (*)(ICamera*, uint32_t, int32_t));
SLOT(ICameraTable, GetOption, 14, HRESULT (*)(ICamera*, uint32_t, int32_t*));
SLOT(ICameraTable, StartPull, 15, HRESULT (*)(ICamera*, uint32_t, uint32_t, vex_camera_frame_callback, vex_camera_buffer_callback, void*, vex_camera_event_callback, void*, uint32_t, uint32_t, const vex_texture_target*, uint32_t));
SLOT(ICameraTable, Stop, 16, HRESULT (*)(ICamera*));
SLOT(ICameraTable, Close, 17, void (*)(ICamera*));
SLOT(ICameraTable, Snap, 18, HRESULT (*)(ICamera*, uint32_t, uint32_t, void*));
SLOT(ICameraTable, Pause, 19, HRESULT (*)(ICamera*, uint32_t));
SLOT(ICameraTable, Trigger, 20, HRESULT (*)(ICamera*, uint32_t));
SLOT(ICameraTable, TextureAccepted, 21, uint32_t (*)(ICamera*));
SLOT(ICameraTable, PipelineOcl, 22, HRESULT (*)(ICamera*, void*, void*, void*));

RECORD(ICameraStatus, 8);
FIELD(ICameraStatus, table, const struct ICameraStatusTable*, 0, 8);

RECORD(ICameraStatusTable, 48);
SLOT(ICameraStatusTable, QueryInterface, 0, HRESULT (*)(ICameraStatus*, const vex_guid*, void**));
SLOT(ICameraStatusTable, AddRef, 1, uint32_t (*)(ICameraStatus*));
SLOT(ICameraStatusTable, Release, 2, uint32_t (*)(ICameraStatus*));
SLOT(ICameraStatusTable, GetState, 3, HRESULT (*)(ICameraStatus*, uint32_t*));
SLOT(ICameraStatusTable, GetLostFrames, 4, HRESULT (*)(ICameraStatus*, uint32_t*));
SLOT(ICameraStatusTable, GetMaxFrameRate, 5, HRESULT (*)(ICameraStatus*, uint32_t, uint32_t*));

RECORD(ICameraStill, 8);
FIELD(ICameraStill, table, const struct ICameraStillTable*, 0, 8);

RECORD(ICameraStillTable, 56);
SLOT(ICameraStillTable, QueryInterface, 0, HRESULT (*)(ICameraStill*, const vex_guid*, void**));
SLOT(ICameraStillTable, AddRef, 1, uint32_t (*)(ICameraStill*));
SLOT(ICameraStillTable, Release, 2, uint32_t (*)(ICameraStill*));
SLOT(ICameraStillTable, GetStillSize, 3, HRESULT (*)(ICameraStill*, uint32_t*, uint32_t*));
SLOT(ICameraStillTable, SetStillIndex, 4, HRESULT (*)(ICameraStill*, uint32_t));
SLOT(ICameraStillTable, GetStillCount, 5, int32_t (*)(ICameraStill*));
SLOT(ICameraStillTable, GetStillResolution, 6, HRESULT (*)(ICameraStill*, uint32_t, int32_t*, int32_t*));

RECORD(ICameraPreviewSize, 8);
FIELD(ICameraPreviewSize, table, const struct ICameraPreviewSizeTable*, 0, 8);

RECORD(ICameraPreviewSizeTable, 48);
SLOT(ICameraPreviewSizeTable, QueryInterface, 0, HRESULT (*)(ICameraPreviewSize*, const vex_guid*, void**));
SLOT(ICameraPreviewSizeTable, AddRef, 1, uint32_t (*)(ICameraPreviewSize*));
SLOT(ICameraPreviewSizeTable, Release, 2, uint32_t (*)(ICameraPreviewSize*));
SLOT(ICameraPreviewSizeTable, GetPreviewIndex, 3, HRESULT (*)(ICameraPreviewSize*, uint32_t*));
SLOT(ICameraPreviewSizeTable, GetPreviewSize, 4, HRESULT (*)(ICameraPreviewSize*, int32_t*, int32_t*));
SLOT(ICameraPreviewSizeTable, SetPreviewIndex, 5, HRESULT (*)(ICameraPreviewSize*, uint32_t));

RECORD(ICameraRaw, 8);
FIELD(ICameraRaw, table, const struct ICameraRawTable*, 0, 8);

RECORD(ICameraRawTable, 40);
SLOT(ICameraRawTable, QueryInterface, 0, HRESULT (*)(ICameraRaw*, const vex_guid*, void**));
SLOT(ICameraRawTable, AddRef, 1, uint32_t (*)(ICameraRaw*));
SLOT(ICameraRawTable, Release, 2, uint32_t (*)(ICameraRaw*));
SLOT(ICameraRawTable, GetRawFormat, 3, HRESULT (*)(ICameraRaw*, uint32_t*, uint32_t*));
SLOT(ICameraRawTable, SetRawCallback, 4, HRESULT (*)(ICameraRaw*, vex_camera_raw_callback, void*));

RECORD(ICameraControls, 8);
FIELD(ICameraControls, table, const struct ICameraControlsTable*, 0, 8);

RECORD(ICameraControlsTable, 56);
SLOT(ICameraControlsTable, QueryInterface, 0, HRESULT (*)(ICameraControls*, const vex_guid*, void**));
SLOT(ICameraControlsTable, AddRef, 1, uint32_t (*)(ICameraControls*));
SLOT(ICameraControlsTable, Release, 2, uint32_t (*)(ICameraControls*));
SLOT(ICameraControlsTable, GetRange, 3, HRESULT (*)(ICameraControls*, uint32_t, int32_t*, int32_t*, int32_t*));
SLOT(ICameraControlsTable, Get, 4, HRESULT (*)(ICameraControls*, uint32_t, int32_t*));
SLOT(ICameraControlsTable, Put, 5, HRESULT (*)(ICameraControls*, uint32_t, int32_t));
SLOT(ICameraControlsTable, PutRoi, 6, HRESULT (*)(ICameraControls*, uint32_t, uint32_t, uint32_t, uint32_t));

RECORD(vex_surface, 32);
FIELD(vex_surface, pixels, uint8_t*, 0, 8);
FIELD(vex_surface, width, int32_t, 8, 4);
FIELD(vex_surface, height, int32_t, 12, 4);
FIELD(vex_surface, stride, int32_t, 16, 4);
FIELD(vex_surface, dpiX, uint32_t, 20, 4);
FIELD(vex_surface, dpiY, uint32_t, 24, 4);

RECORD(vex_rect_f, 16);
FIELD(vex_rect_f, left, float, 0, 4);
FIELD(vex_rect_f, top, float, 4, 4);
FIELD(vex_rect_f, right, float, 8, 4);
FIELD(vex_rect_f, bottom, float, 12, 4);

RECORD(vex_point_f, 8);
FIELD(vex_point_f, x, float, 0, 4);
FIELD(vex_point_f, y, float, 4, 4);

RECORD(vex_picture, 32);
FIELD(vex_picture, pixels, const uint8_t*, 0, 8);
FIELD(vex_picture, texture, void*, 8, 8);
FIELD(vex_picture, width, int32_t, 16, 4);
FIELD(vex_picture, height, int32_t, 20, 4);
FIELD(vex_picture, stride, int32_t, 24, 4);
FIELD(vex_picture, bytesPerPixel, uint32_t, 28, 4);

RECORD(vex_text_format, 12);
FIELD(vex_text_format, height, float, 0, 4);
FIELD(vex_text_format, weight, int32_t, 4, 4);
FIELD(vex_text_format, flags, uint32_t, 8, 4);

RECORD(vex_device, 24);
FIELD(vex_device, name, const vex_char*, 0, 8);
FIELD(vex_device, display, const vex_char*, 8, 8);
FIELD(vex_device, kind, uint32_t, 16, 4);

RECORD(vex_bitmap_header, 40);
FIELD(vex_bitmap_header, biSize, uint32_t, 0, 4);
FIELD(vex_bitmap_header, biWidth, int32_t, 4, 4);
FIELD(vex_bitmap_header, biHeight, int32_t, 8, 4);
FIELD(vex_bitmap_header, biPlanes, uint16_t, 12, 2);
FIELD(vex_bitmap_header, biBitCount, uint16_t, 14, 2);
FIELD(vex_bitmap_header, biCompression, uint32_t, 16, 4);
FIELD(vex_bitmap_header, biSizeImage, uint32_t, 20, 4);
FIELD(vex_bitmap_header, biXPelsPerMeter, int32_t, 24, 4);
FIELD(vex_bitmap_header, biYPelsPerMeter, int32_t, 28, 4);
FIELD(vex_bitmap_header, biClrUsed, uint32_t, 32, 4);
FIELD(vex_bitmap_header, biClrImportant, uint32_t, 36, 4);

RECORD(vex_capability, 80);
FIELD(vex_capability, header, vex_bitmap_header, 0, 40);
FIELD(vex_capability, inputSize, int32_t*, 40, 8);
FIELD(vex_capability, minOutputSize, int32_t*, 48, 8);
FIELD(vex_capability, maxOutputSize, int32_t*, 56, 8);
FIELD(vex_capability, minFrameInterval, int64_t, 64, 8);
FIELD(vex_capability, maxFrameInterval, int64_t, 72, 8);

RECORD(vex_recording_counts, 40);
FIELD(vex_recording_counts, offered, uint32_t, 0, 4);
FIELD(vex_recording_counts, kept, uint32_t, 4, 4);
FIELD(vex_recording_counts, written, uint32_t, 8, 4);
FIELD(vex_recording_counts, lost, uint32_t, 12, 4);
FIELD(vex_recording_counts, bytes, uint64_t, 16, 8);
FIELD(vex_recording_counts, lastFailure, HRESULT, 24, 4);
FIELD(vex_recording_counts, elapsed, uint32_t, 28, 4);

RECORD(struct vex_window, 40);
FIELD(struct vex_window, post, void (*)(vex_window*, uint32_t, uintptr_t, intptr_t), 0, 8);
FIELD(struct vex_window, invalidate, void (*)(vex_window*), 8, 8);
FIELD(struct vex_window, set_timer, void (*)(vex_window*, uintptr_t, uint32_t, vex_timer_fire), 16, 8);
FIELD(struct vex_window, kill_timer, void (*)(vex_window*, uintptr_t), 24, 8);
FIELD(struct vex_window, user, void*, 32, 8);

RECORD(vex_message, 24);
FIELD(vex_message, message, uint32_t, 0, 4);
FIELD(vex_message, wparam, uintptr_t, 8, 8);
FIELD(vex_message, lparam, intptr_t, 16, 8);

RECORD(MarkerGeo, 40);
FIELD(MarkerGeo, eMarkerGeo, int32_t, 0, 4);
FIELD(MarkerGeo, eMarkerGeoColor, uint32_t, 4, 4);
FIELD(MarkerGeo, eMarkerGeoFlag, uint32_t, 8, 4);
FIELD(MarkerGeo, eMarkerGeox, int32_t, 12, 4);
FIELD(MarkerGeo, eMarkerGeoy, int32_t, 16, 4);
FIELD(MarkerGeo, eMarkerGeox2, int32_t, 20, 4);
FIELD(MarkerGeo, eMarkerGeoy2, int32_t, 24, 4);
FIELD(MarkerGeo, eMarkerxPos, int32_t, 28, 4);
FIELD(MarkerGeo, eMarkeryPos, int32_t, 32, 4);
FIELD(MarkerGeo, eMarkerGeoAngle, int32_t, 36, 4);

RECORD(MarkerTxt, 48);
FIELD(MarkerTxt, MarkerPos, int32_t, 0, 4);
FIELD(MarkerTxt, FontSize, int32_t, 4, 4);
FIELD(MarkerTxt, FontWeight, int32_t, 8, 4);
FIELD(MarkerTxt, eBackground, int32_t, 12, 4);
FIELD(MarkerTxt, ScaleSize, int32_t, 16, 4);
FIELD(MarkerTxt, Scale, uint32_t, 20, 4);
FIELD(MarkerTxt, ScaleWithPower, uint32_t, 24, 4);
FIELD(MarkerTxt, ScaleColor, uint32_t, 28, 4);
FIELD(MarkerTxt, Date, int32_t, 32, 4);
FIELD(MarkerTxt, DateColor, uint32_t, 36, 4);
FIELD(MarkerTxt, Contrast, uint32_t, 40, 4);
FIELD(MarkerTxt, ContrastColor, uint32_t, 44, 4);

RECORD(WaterInfo, 16);
FIELD(WaterInfo, alpha, uint8_t, 0, 1);
FIELD(WaterInfo, dib, const void*, 8, 8);

RECORD(vex_setting, 32);
FIELD(vex_setting, name, const vex_char*, 0, 8);
FIELD(vex_setting, kind, uint32_t, 8, 4);
FIELD(vex_setting, standard, uint32_t, 12, 4);
FIELD(vex_setting, least, uint32_t, 16, 4);
FIELD(vex_setting, most, uint32_t, 20, 4);

RECORD(vex_name_rules, 24);
FIELD(vex_name_rules, prefix, const vex_char*, 0, 8);
FIELD(vex_name_rules, directory, const vex_char*, 8, 8);
FIELD(vex_name_rules, format, int32_t, 16, 4);
FIELD(vex_name_rules, subfolders, int32_t, 20, 4);
