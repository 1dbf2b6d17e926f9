// One stream for two readers: the recording, and a preview that must not hold it up.
#pragma once

#include <memory>

#include "graph/base_filter.h"

namespace vexcap {

/// Input "Input", outputs "Capture" and "Preview" (categories by IKsPropertySet), which can be connected once the input
/// is. The outputs' type is the input's. Samples are handed on without a copy while one output is connected. With both,
/// the capture side gets the sample itself and may change it in place; the preview gets a copy of what came, without
/// times, so that it is shown at once. The copy is delivered by a thread of its own, and left out when no buffer of the
/// preview's pool is free, so the capture side waits for no preview. The capture pin has IAMStreamControl; what it
/// holds back goes to the preview all the same.
class CSmartTee final : public CBaseFilter {
public:
    CSmartTee();
    size_t GetPinCount() override { return 3; }
    CBasePin* GetPin(size_t index) override;
    CBaseInputPin& Input();
    CBaseOutputPin& Capture();
    CBaseOutputPin& Preview();

private:
    class InputPin;
    class OutputPin;
    class CapturePin;
    class PreviewPin;
    ~CSmartTee() override;
    /// Does the preview get copies? Constant while the filter is not stopped.
    bool Copies() const;

    std::unique_ptr<InputPin> input;
    std::unique_ptr<CapturePin> capture;
    std::unique_ptr<PreviewPin> preview;
};

}  // namespace vexcap
