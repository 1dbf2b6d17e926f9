// Encoders that a test makes up.
#pragma once

#include "platform/encoder_catalogue.h"

namespace vexcap {

struct FakeEncoderCatalogue final : IEncoderCatalogue {
    EncoderOffer Discover() override { return offer; }

    EncoderOffer offer;
};

}  // namespace vexcap
