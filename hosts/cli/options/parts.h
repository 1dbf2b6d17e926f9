/// Options that several commands have. They hold references to what they fill.
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <string_view>

#include "hosts/cli/options/options.h"

namespace vexcap::cli {

constexpr int32_t mostInt = std::numeric_limits<int32_t>::max();

constexpr std::string_view noValue = "true";  ///< What CLI11 gives for an option without its optional value.

/// An option with a whole decimal number; zeros in front change nothing.
CLI::Option* addWhole(CLI::App& command, const char* name, const char* type, const char* help, int32_t least,
                      int32_t most, const std::function<void(int32_t value)>& take);
/// The same into a variable, which may be an optional one.
template <typename Value>
CLI::Option* addWhole(CLI::App& command, const char* name, const char* type, const char* help, int32_t least,
                      int32_t most, Value& value) {
    return addWhole(command, name, type, help, least, most, [&value](int32_t number) { value = number; });
}
/// An option with a text that `take` reads; where it cannot, `wrong` says what it has to be.
CLI::Option* addText(CLI::App& command, const char* name, const char* type, const char* help, const std::string& wrong,
                     const std::function<bool(const std::string& text)>& take);

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
