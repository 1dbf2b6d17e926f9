#include "hosts/common/codecs.h"

#include <vexcap/vexcap.h>

#include "hosts/common/failure.h"
#include "hosts/common/text/result_text.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

std::vector<Codec> allCodecs() {
    std::vector<Codec> codecs;
    vex_device* const list = vexcap_enum_codec();
    for (const vex_device* entry = list; entry && entry->name && entry->display; ++entry)
        codecs.push_back({toUtf8(entry->display), toUtf8(entry->name)});
    vexcap_free_dsvi(list);
    if (codecs.empty()) throw Failure(exitNoMedia, "there is no compressor: " + resultText(noModule));
    return codecs;
}

}  // namespace vexcap::host
