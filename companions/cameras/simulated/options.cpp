#include "companions/cameras/simulated/options.h"

#include <limits>
#include <utility>

namespace vexcap::cameras {
namespace {

// What stands before the first `mark`; `text` keeps what stands behind it.
std::u16string_view cutAt(std::u16string_view& text, char16_t mark) {
    const size_t place = text.find(mark);
    const std::u16string_view head = text.substr(0, place);
    text = place == text.npos ? std::u16string_view() : text.substr(place + 1);
    return head;
}

std::optional<uint64_t> numberOf(std::u16string_view text, uint64_t maximum) {
    if (text.empty()) return std::nullopt;
    uint64_t number = 0;
    for (const char16_t digit : text) {
        if (digit < u'0' || digit > u'9') return std::nullopt;
        const uint64_t value = uint64_t(digit - u'0');
        if (number > (maximum - value) / 10) return std::nullopt;
        number = number * 10 + value;
    }
    return number;
}

bool readCount(std::u16string_view text, std::optional<uint32_t>& count) {
    const auto number = numberOf(text, std::numeric_limits<uint32_t>::max());
    if (number) count = uint32_t(*number);
    return number.has_value();
}

bool readScene(std::u16string_view text, SceneName& scene) {
    constexpr std::pair<std::u16string_view, SceneName> names[] = {{u"cell", SceneName::Cell},
                                                                   {u"hubble", SceneName::Hubble},
                                                                   {u"ihc", SceneName::Ihc},
                                                                   {u"moon", SceneName::Moon}};
    for (const auto& [name, value] : names) {
        if (text != name) continue;
        scene = value;
        return true;
    }
    return false;
}

bool readOption(std::u16string_view option, SimulatedOptions& options) {
    const bool hasValue = option.find(u'=') != option.npos;
    const std::u16string_view name = cutAt(option, u'=');
    if (!hasValue) {
        if (name == u"deterministic") return options.deterministic = true;
        if (name == u"refuse") return options.refuse = true;
        if (name == u"busy") return options.busy = true;
        return false;
    }
    if (name == u"drop-after") return readCount(option, options.dropAfter);
    if (name == u"stall-after") return readCount(option, options.stallAfter);
    if (name == u"wrong-size-after") return readCount(option, options.wrongSizeAfter);
    if (name == u"depth") return readCount(option, options.toldDepth);
    if (name == u"scene") return readScene(option, options.scene);
    if (name == u"seed") {
        const auto seed = numberOf(option, std::numeric_limits<uint64_t>::max());
        options.seed = seed.value_or(0);
        return seed.has_value();
    }
    if (name == u"fps") {
        const auto rate = numberOf(option, options.model->fastestRate);
        options.frameRate = uint32_t(rate.value_or(0));
        return options.frameRate > 0;
    }
    return false;
}

}  // namespace

Result<SimulatedOptions> parseSimulatedOptions(std::u16string_view identifier) {
    SimulatedOptions options;
    const bool hasOptions = identifier.find(u';') != identifier.npos;
    const std::u16string_view wanted = cutAt(identifier, u';');
    for (const SimulatedModel& model : simulatedModels())
        if (model.identifier == wanted) options.model = &model;
    if (!options.model) return VEX_E_FILE_NOT_FOUND;
    options.scene = options.model->scene;
    if (!hasOptions) return options;
    for (bool more = true; more;) {
        more = identifier.find(u';') != identifier.npos;
        if (!readOption(cutAt(identifier, u';'), options)) return E_INVALIDARG;
    }
    return options;
}

}  // namespace vexcap::cameras
