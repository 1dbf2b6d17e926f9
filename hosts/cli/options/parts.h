/// Options that several commands have. They hold references to what they fill.
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>

#include "hosts/cli/options/options.h"

namespace vexcap::cli {

constexpr int32_t mostInt = std::numeric_limits<int32_t>::max();

constexpr std::string_view noValue = "true";  ///< What CLI11 gives for an option without its optional value.

/// Without its own text in the help, where a type and two large numbers tell less than the option's name.
CLI::Validator between(int32_t least, int32_t most);

/// Checks give an empty text, or what is wrong.
std::string checkPath(const std::string& path);
std::string checkSize(const std::string& text);

using Words = std::span<const char* const>;
/// "none|date".
std::string listed(Words words);
/// The number of a word, or the number itself.
std::optional<int32_t> parseChoice(Words words, const std::string& text);

void addJson(CLI::App& command, Options& options);
void addSettingsDirectory(CLI::App& command, Options& options);
/// Camera library, settings and JSON.
void addCommon(CLI::App& command, Options& options);
/// One that need not be named where there is only one.
CLI::Option* addOptionalDevice(CLI::App& command, Options& options);
void addDevice(CLI::App& command, Options& options);
void addFormat(CLI::App& command, Options& options);
void addOverwrite(CLI::App& command, Options& options);
/// Settings of a camera but its frame rate.
void addCamera(CLI::App& command, Options& options);
/// What a video input device can do alone.
void addPicture(CLI::App& command, Options& options);

}  // namespace vexcap::cli
