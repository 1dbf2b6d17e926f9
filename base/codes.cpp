#include "base/codes.h"

namespace vexcap {
namespace {

struct CodeText {
    HRESULT code;
    std::u16string_view text;
};
constexpr CodeText codeTexts[] = {
    {S_OK, u"Done"},
    {S_FALSE, u"Done, with no for an answer"},
    {E_NOTIMPL, u"Not offered here"},
    {E_NOINTERFACE, u"No such interface"},
    {E_POINTER, u"Invalid pointer"},
    {E_FAIL, u"Unspecified failure"},
    {E_UNEXPECTED, u"Not possible in this state"},
    {E_INVALIDARG, u"Invalid argument"},
    {E_OUTOFMEMORY, u"Out of memory"},
    {VEX_E_INSUFFICIENT_BUFFER, u"The buffer is too small"},
    {VEX_E_CANCELLED, u"Cancelled by the user"},
    {VEX_E_NO_ENCODER, u"No encoder fits the choice"},
    {VEX_E_NO_MODULE, u"A library that this needs is missing or cannot be loaded"},
    {VEX_E_INTERRUPTED, u"Interrupted"},
    {VEX_E_DEVICE_LOST, u"The device is gone"},
    {VFW_S_NO_MORE_ITEMS, u"Done, nothing follows"},
    {VFW_S_CANT_CUE, u"Paused, without a picture from a live source"},
    {VFW_S_STATE_INTERMEDIATE, u"The change of state is under way"},
    {VFW_S_NOPREVIEWPIN, u"Done, the preview shares the stream of the recording"},
    {VFW_E_ALREADY_CONNECTED, u"Connected already"},
    {VFW_E_NO_ACCEPTABLE_TYPES, u"No format that both sides take"},
    {VFW_E_NOT_CONNECTED, u"Not connected"},
    {VFW_E_NO_ALLOCATOR, u"No buffers were agreed on"},
    {VFW_E_RUNTIME_ERROR, u"The stream broke before"},
    {VFW_E_NOT_COMMITTED, u"The buffers are not ready"},
    {VFW_E_NOT_FOUND, u"Not found"},
    {VFW_E_CANNOT_CONNECT, u"Nothing connects the source to its target"},
    {VFW_E_CANNOT_RENDER, u"Nothing can show or write this stream"},
    {VFW_E_NOT_STOPPED, u"Only possible while stopped"},
    {VFW_E_WRONG_STATE, u"Not possible in this state of the stream"},
    {VFW_E_TYPE_NOT_ACCEPTED, u"The format is not taken"},
    {VFW_E_SAMPLE_REJECTED, u"The frame is not taken"},
    {VFW_E_DUPLICATE_NAME, u"The name is in use"},
    {VFW_E_TIMEOUT, u"Nothing came in time"},
    {VFW_E_SAMPLE_TIME_NOT_SET, u"The frame has no time"},
    {VFW_E_NOT_IN_GRAPH, u"Not part of the media graph"},
    {CLASS_E_CLASSNOTAVAILABLE, u"No component of this kind"},
    {E_PROP_ID_UNSUPPORTED, u"No such property"},
    {E_PROP_SET_UNSUPPORTED, u"No such group of properties"},
};

}  // namespace

std::u16string_view codeText(HRESULT code) {
    for (const CodeText& known : codeTexts)
        if (known.code == code) return known.text;
    return {};
}

}  // namespace vexcap
