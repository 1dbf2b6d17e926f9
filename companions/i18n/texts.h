// All texts that users read, in English: one table, so that none can be missing.
#pragma once

#include <cstdint>
#include <span>

namespace vexcap::i18n {

/// One text: of a key, or of a control of a dialog.
struct Text {
    const char* key;     ///< "ids_...", null for a dialog's.
    const char* dialog;  ///< "IDD_...", null for a key's.
    uint32_t control;
    /// What catalogues know it by, in UTF-8: key or dialog as the context, the byte 4, the English text.
    const char* id;
    const char16_t* english;
};

std::span<const Text> allTexts();

/// Null for null and for what is not in the table.
const Text* findText(const char* key);
const Text* findText(const char* dialog, uint32_t control);

}  // namespace vexcap::i18n
