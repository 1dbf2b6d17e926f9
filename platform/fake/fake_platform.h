// All fakes together, as one platform.
#pragma once

#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_date_text.h"
#include "platform/fake/fake_dialogs.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_encoder_catalogue.h"
#include "platform/fake/fake_folders.h"
#include "platform/fake/fake_loader.h"
#include "platform/fake/fake_media.h"
#include "platform/fake/fake_message_box.h"
#include "platform/fake/fake_settings.h"
#include "platform/fake/fake_system_info.h"
#include "platform/fake/fake_text_raster.h"
#include "platform/fake/fake_texture.h"
#include "platform/fake/fake_video_devices.h"
#include "platform/platform.h"

namespace vexcap {

struct FakePlatform {
    FakeLoader loader;
    FakeClock clock;
    FakeDisk files;
    FakeFolders folders;
    FakeSettings settings;
    FakeSystemInfo system;
    FakeMessageBox messageBox;
    FakeDialogs dialogs;
    FakeEncoderCatalogue encoders;
    FakeTextures textures;
    FakeVideoDevices videoDevices;
    FakeMedia media;
    FakeTextRaster texts;
    FakeDateText dates;
    Log log;

    /// Refers to the fakes above, which must outlive it.
    Platform ports() { return portsOn(files); }
    /// The same with another disk.
    Platform portsOn(IFileSystem& disk) {
        return {loader,   clock,    disk,         folders, settings, system, messageBox, dialogs,
                encoders, textures, videoDevices, media,   texts,    dates,  log};
    }
};

}  // namespace vexcap
