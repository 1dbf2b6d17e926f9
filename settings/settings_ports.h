// What settings, names and records need of the process.
#pragma once

#include <string_view>

#include "platform/clock.h"
#include "platform/encoder_catalogue.h"
#include "platform/folders.h"
#include "platform/media.h"
#include "platform/settings.h"

namespace vexcap {

/// Everything outlives its users. Host's thread.
struct SettingsPorts {
    ISettingsKey* key = nullptr;  ///< Of recordings and broadcasts; null where settings cannot be kept.
    IClock& clock;
    IFolders& folders;
    IEncoderCatalogue& encoders;
    IMedia& media;
    std::u16string_view productName;  ///< Names the folder of recordings in the user's documents.
    bool astroMode = false;           ///< Records neither read nor write settings.
    bool remembersEncoder = false;    ///< Records store their kind of encoder.
};

}  // namespace vexcap
