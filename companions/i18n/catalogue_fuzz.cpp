// Catalogues from outside: nothing crashes, and what is used can stand for the English text.
#include <cstdlib>
#include <string>

#include "base/text.h"
#include "companions/i18n/catalogue.h"

using namespace vexcap;
using namespace vexcap::i18n;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Catalogue catalogue({reinterpret_cast<const char*>(data), size});
    for (const Text& text : allTexts()) {
        const char16_t* const found = catalogue.find(text);
        if (found && std::u16string(found).empty()) std::abort();
    }
    return 0;
}
