/// What the library remembers for a user: how recordings are made, how their files are named, and what the overlay
/// shows.
#ifndef VEXCAP_SETTINGS_H
#define VEXCAP_SETTINGS_H

#include <vexcap/types.h>

VEXCAP_EXTERN_C_BEGIN

/// Kinds of settings, `vex_setting.kind`.
enum {
    VEX_SETTING_NUMBER = 0,  ///< 32 bits. A stored value outside of the limits is read as the limit beside it.
    VEX_SETTING_SIGNED = 1,  ///< A number whose 32 bits, and those of its standard and limits, are an int32_t. A stored
                             ///< value outside of the limits is read as the limit beside it; a `Date` above them as
                             ///< VEX_DATE_SHORT.
    VEX_SETTING_CHOICE = 2,  ///< A number. A stored value outside of the limits is read as `standard`.
    VEX_SETTING_TEXT = 3,    ///< A text of at most `most` characters; a longer one is read as empty.
    VEX_SETTING_BIT = 4      ///< 0 or 1: of a stored number the lowest bit counts.
};

/// One remembered value. 32 bytes.
typedef struct vex_setting {
    const vex_char* name;
    uint32_t kind;      ///< VEX_SETTING_...
    uint32_t standard;  ///< A number's value when none is stored; a text is then empty.
    uint32_t least;     ///< Smallest number.
    uint32_t most;      ///< Largest number; most characters of a text.
    uint64_t reserved;  ///< 0.
} vex_setting;

/// The settings of recordings, broadcasts and file names, then those of the overlay, from eMarkerGeo on. The latter are
/// the fields of MarkerGeo and MarkerTxt, with their names, and CaptureAfter.
/// The array is constant; `count` may be null.
VEXCAP_API const vex_setting* vexcap_settings(uint32_t* count);

/// Reads a setting as the library uses it: stored, or standard where nothing usable is stored, and within its limits.
/// One of the overlay has the value of the process: the one that marker_get_markergeo, marker_get_markertxt and
/// marker_get_captureafter return.
/// @param name    A name of the list, letters without case.
/// @param number  Becomes the number, or the length of a text; may be null.
/// @param text    Room for 260 characters: becomes the text, or the number in digits; may be null.
/// @return S_OK when the value is stored, S_FALSE when it is the standard one; E_INVALIDARG for another name.
///         Before vexcap_init, for the overlay before marker_init, or where settings cannot be kept, none is stored.
VEXCAP_API HRESULT vexcap_get_setting(const vex_char* name, uint32_t* number, vex_char* text);

/// Stores a setting. It holds from the next recording on, in every program with the same settings path; one of the
/// overlay for the contexts that this process makes from now on, and in other programs from their marker_init on.
/// @param number  The value of a number; unread for a text.
/// @param text    The value of a text, null for empty; unread for a number.
/// @return S_OK; E_INVALIDARG for another name, a number outside of the limits, a text that is too long, and characters
///         that a file name cannot have where the setting is a part of one; E_UNEXPECTED where settings cannot be kept;
///         the file system's code when the value could not be written: the old one stays then.
VEXCAP_API HRESULT vexcap_put_setting(const vex_char* name, uint32_t number, const vex_char* text);

/// Forms of names that come by themselves, `vex_name_rules.format`; each is a prefix and what is told here.
enum {
    VEX_NAME_SHORT_STAMP = 0,    ///< yymmddHHMMSS
    VEX_NAME_LONG_STAMP = 1,     ///< yyyymmddHHMMSS
    VEX_NAME_SHORT_DASHES = 2,   ///< yy-mm-dd-HH-MM-SS
    VEX_NAME_LONG_DASHES = 3,    ///< yyyy-mm-dd-HH-MM-SS
    VEX_NAME_SEQUENCE = 4,       ///< A number of at least four digits that counts names of this process from 1.
    VEX_NAME_AS_REMEMBERED = -1  ///< The setting FileNameFomat.
};

/// Folders below the base folder, `vex_name_rules.subfolders`.
enum {
    VEX_FOLDERS_NONE = 0,
    VEX_FOLDERS_DATE = 1,            ///< yyyymmdd
    VEX_FOLDERS_YEAR_MONTH_DAY = 2,  ///< yyyy/mm/dd
    VEX_FOLDERS_AS_REMEMBERED = -1   ///< The setting DirSub.
};

/// How a file is to be named. 24 bytes.
typedef struct vex_name_rules {
    const vex_char* prefix;     ///< Begins the name; null: the setting FileNamePrefix.
    const vex_char* directory;  ///< Base folder; null: the setting CapturePath, or a folder in the user's documents.
    int32_t format;             ///< VEX_NAME_...
    int32_t subfolders;         ///< VEX_FOLDERS_...
} vex_name_rules;

/// A name for a recording: folder, prefix, local time or number, and the extension. The folder is made where it is
/// missing. No name is changed to avoid a file that exists: the host asks, or asks for another name.
/// @param rules      Null: everything as remembered.
/// @param extension  With its point, ".ser".
/// @param path       Room for 260 characters.
/// @return S_OK; E_INVALIDARG for null, for numbers that are not listed and for a prefix or extension with one of
///         < > : " / \ | ? *; VEX_E_INSUFFICIENT_BUFFER for a path of more than 259 characters; the file system's code
///         when the folder cannot be made. After a failure `path` is empty.
VEXCAP_API HRESULT vexcap_auto_path(const vex_name_rules* rules, const vex_char* extension, vex_char* path);

VEXCAP_EXTERN_C_END
#endif
