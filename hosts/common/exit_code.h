/// What the program's exit status says. The numbers are told in --help, in the man page and in README.md.
#pragma once

namespace vexcap::host {

enum ExitCode : int {
    exitDone = 0,        ///< Done.
    exitFailure = 1,     ///< Something failed that has no number of its own.
    exitUsage = 2,       ///< The command line asks for what cannot be.
    exitNoDevice = 3,    ///< No such device, or it cannot be opened.
    exitDeviceLost = 4,  ///< The device went away or stopped sending; the file is whole.
    exitDiskFull = 5,    ///< The disk is full; the file is whole.
    exitFramesLost = 6,  ///< Recorded to the end, but frames are missing.
    exitDamaged = 7,     ///< A file that was looked at is damaged or cut short.
    exitNoVideo = 8,     ///< No video in the file that could be played.
    exitNoMedia = 9,     ///< What compresses and plays video is not installed.
    exitAborted = 130    ///< Asked to end twice, or before the recording began.
};

}  // namespace vexcap::host
