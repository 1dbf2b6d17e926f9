/// What the library has to say to users and to support: result codes in words, why a start failed, boxes, and a log.
///
/// Every text is UTF-16. The words here are English, or the system's own for its errors; the texts of boxes are those
/// of the string library (vexcap/string_library.h). A text that is handed to a hook is the library's, and good until
/// the hook returns.
#ifndef VEXCAP_REPORT_H
#define VEXCAP_REPORT_H

#include <vexcap/types.h>
#include <vexcap/window.h>

VEXCAP_EXTERN_C_BEGIN

typedef struct vexcap_context vexcap_context;

/// What a result code means, in words without a full stop: u"Permission denied". A code of the system (0x8007....) has
/// the words of the system in the language of the process, any other one those of this library. Any thread, any time.
/// @param buffer  Becomes the text, cut to `room` and terminated; may be null.
/// @param room    Characters that fit into it, its terminator included; 0 leaves it alone.
/// @return The length of the whole text without its terminator; 0 without memory.
VEXCAP_API uint32_t vexcap_result_text(HRESULT code, vex_char* buffer, uint32_t room);

/// Why the last start of a context failed: vexcap_start, one of vexcap_start_capture_..., or the preview's return after
/// a change of its size or format. A start call begins by clearing it. Host's thread. The start calls return few codes;
/// this one reports the code below them, as E_ACCESSDENIED where vexcap_start_capture_astro returned E_FAIL, and says
/// which file, folder, device, library or compressor it was.
/// @param context  Null: of the last vexcap_init, vexcap_device or vexcap_file; each of them clears it. vexcap_init
///                 reports a camera or network library that was named and cannot be used, and settings that cannot be
///                 kept.
/// @param code     Becomes the code, S_OK when nothing failed; may be null.
/// @param buffer   Becomes one or more sentences, empty when nothing failed; cut to `room` and terminated; may be null.
///                 They name paths in full: 1024 characters hold all but the longest.
/// @param room     Characters that fit into it, its terminator included; 0 leaves it alone.
/// @return The length of the whole text without its terminator.
VEXCAP_API uint32_t vexcap_last_error(vexcap_context* context, HRESULT* code, vex_char* buffer, uint32_t room);

/// Kinds of boxes.
enum {
    VEX_BOX_MESSAGE = 0,  ///< A failure or a hint, with one button.
    VEX_BOX_QUESTION = 1  ///< A question that is answered by yes or no.
};

/// Shows a box, waits until the user closed it, and returns the answer to a question: non-zero for yes. What a message
/// returns is not read. It may call no function of this library for the context that shows the box.
/// @param owner  The owner window of the context, null without one.
/// @param text   Lines end in "\r\n"; the last one may be "hr = 0x80004005 (Unspecified failure).".
/// @param title  The product's name as vexcap_init was given it.
/// @param kind   VEX_BOX_...
typedef int32_t (*vex_message_hook)(void* context, vex_window* owner, const vex_char* text, const vex_char* title,
                                    uint32_t kind);

/// Hands every box to the host, on the host's thread. Without a hook messages go to the error output, and every
/// question is answered by no. Before vexcap_init or any time after; it stays over vexcap_fini. Host's thread.
/// @param hook     Null: as without one.
/// @param context  Is handed to it.
VEXCAP_API void vexcap_message_hook(vex_message_hook hook, void* context);

/// Levels of log lines.
enum {
    VEX_LOG_ERROR = 1,    ///< Something that was asked for did not happen.
    VEX_LOG_WARNING = 2,  ///< Something is missing or was refused; the rest goes on.
    VEX_LOG_INFO = 3,     ///< What was loaded, started and ended.
    VEX_LOG_DEBUG = 4     ///< For developers.
};

/// Takes a line without a line end, on any thread, one line at a time. The library may hold locks meanwhile: it must
/// return soon, wait for no other thread that is inside the library, and call no function here but vexcap_log_hook and
/// vexcap_result_text.
/// @param level  VEX_LOG_...
typedef void (*vex_log_hook)(void* context, uint32_t level, const vex_char* line);

/// Hands lines of the log to the host: which libraries and plug-ins were loaded and which not, in the loader's words,
/// what a device refused, why a start failed, which files were begun and ended. No line comes for a frame unless it is
/// lost. Without a hook there is no log. Before vexcap_init, to see all of it, or any time after; it stays over
/// vexcap_fini. Any thread.
/// @param hook     Null ends the log. Once the call returned, the hook of before neither runs nor comes.
/// @param context  Is handed to it.
/// @param level    The finest level that is wanted, VEX_LOG_...
VEXCAP_API void vexcap_log_hook(vex_log_hook hook, void* context, uint32_t level);

VEXCAP_EXTERN_C_END
#endif
