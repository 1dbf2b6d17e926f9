// Everything that the logic needs of an operating system, handed in from the top.
#pragma once

#include "base/log.h"
#include "platform/clock.h"
#include "platform/date_text.h"
#include "platform/dialogs.h"
#include "platform/encoder_catalogue.h"
#include "platform/file.h"
#include "platform/folders.h"
#include "platform/loader.h"
#include "platform/media.h"
#include "platform/message_box.h"
#include "platform/settings.h"
#include "platform/shared_texture.h"
#include "platform/system_info.h"
#include "platform/text_raster.h"
#include "platform/video_devices.h"

namespace vexcap {

/// The ports of one process. The adapters outlive the engine.
struct Platform {
    ILoader& loader;
    IClock& clock;
    IFileSystem& files;
    IFolders& folders;
    ISettings& settings;
    ISystemInfo& system;
    IMessageBox& messageBox;
    IDialogs& dialogs;
    IEncoderCatalogue& encoders;
    ISharedTextures& textures;
    IVideoDevices& videoDevices;
    IMedia& media;
    ITextRaster& texts;
    IDateText& dates;
    Log& log;
};

}  // namespace vexcap
