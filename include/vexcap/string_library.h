/// The contract of a string library, libvexcap-i18n.so.1: the texts that users read.
/// It is looked up beside libvexcap.so.1 first, and may be missing: then a key stands for its text. Another library of
/// this name replaces it. C11 and C++20.
///
/// It exports the three functions below under their names. They may be called on any thread and at any time, and what
/// they give stays good to the end of the process. As long as the user's language stays the same, a text is always
/// given by the same pointer.
#ifndef VEXCAP_STRING_LIBRARY_H
#define VEXCAP_STRING_LIBRARY_H

#include <vexcap/types.h>

VEXCAP_EXTERN_C_BEGIN

/// The text of a key ("ids_...") in the user's language, else in English; null for null and for an unknown key.
/// A text may hold %s, %u and the like: the engine formats it, and prints what has no argument as it stands. Labels
/// come without a colon.
typedef const vex_char* (*vex_i18n_string)(const char* key);

/// The English text; null for null and for an unknown key. The same pointer as that of i18n_string where the user's
/// language has no text of its own, or one that is the same.
typedef const vex_char* (*vex_en_string)(const char* key);

/// The text of a control of a dialog ("IDD_...") in the user's language, else in English, as the control shows it: a
/// label comes with its colon. Null for null, an unknown dialog, and a control whose text stays as it is.
typedef const vex_char* (*vex_i18n_dialog)(const char* dialog, uint32_t control);

/// Controls of every dialog.
enum {
    VEX_DIALOG_TITLE = 0,  ///< The title of the window.
    VEX_DIALOG_OK = 1,
    VEX_DIALOG_CANCEL = 2
};

/// Controls of "IDD_AUTO", how files are named.
enum {
    VEX_AUTO_FORMAT = 101,  ///< Label of the list of name formats.
    VEX_AUTO_PREFIX = 102,  ///< Label of the text that names begin with.
    VEX_AUTO_SAMPLE = 103   ///< Label of a name by these choices.
};

/// Controls of "IDD_RECORD", where files go.
enum {
    VEX_RECORD_BASE = 201,        ///< Label of the folder.
    VEX_RECORD_SUBFOLDERS = 202,  ///< Label of the list of folders below it.
    VEX_RECORD_BROWSE = 203       ///< Button that lets the folder be chosen.
};

/// Controls of "IDD_QUICKSAVERENAME", which asks for the name of one recording.
enum {
    VEX_RENAME_NAME = 301,      ///< Label of the name.
    VEX_RENAME_DONT_SHOW = 302  ///< Check box that keeps the dialog away from now on.
};

VEXCAP_EXTERN_C_END
#endif
