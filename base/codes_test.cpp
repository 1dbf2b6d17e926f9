#include "base/codes.h"

#include <gtest/gtest.h>

#include <set>

namespace vexcap {
namespace codes_test {

constexpr HRESULT codes[] = {
    S_OK,
    S_FALSE,
    E_NOTIMPL,
    E_NOINTERFACE,
    E_POINTER,
    E_FAIL,
    E_UNEXPECTED,
    E_INVALIDARG,
    E_OUTOFMEMORY,
    VEX_E_INSUFFICIENT_BUFFER,
    VEX_E_CANCELLED,
    VEX_E_NO_ENCODER,
    VEX_E_NO_MODULE,
    VEX_E_INTERRUPTED,
    VEX_E_DEVICE_LOST,
    VFW_S_NO_MORE_ITEMS,
    VFW_S_CANT_CUE,
    VFW_S_STATE_INTERMEDIATE,
    VFW_S_NOPREVIEWPIN,
    VFW_E_ALREADY_CONNECTED,
    VFW_E_NO_ACCEPTABLE_TYPES,
    VFW_E_NOT_CONNECTED,
    VFW_E_NO_ALLOCATOR,
    VFW_E_RUNTIME_ERROR,
    VFW_E_NOT_COMMITTED,
    VFW_E_NOT_FOUND,
    VFW_E_CANNOT_CONNECT,
    VFW_E_CANNOT_RENDER,
    VFW_E_NOT_STOPPED,
    VFW_E_WRONG_STATE,
    VFW_E_TYPE_NOT_ACCEPTED,
    VFW_E_SAMPLE_REJECTED,
    VFW_E_DUPLICATE_NAME,
    VFW_E_TIMEOUT,
    VFW_E_SAMPLE_TIME_NOT_SET,
    VFW_E_NOT_IN_GRAPH,
    CLASS_E_CLASSNOTAVAILABLE,
    E_PROP_ID_UNSUPPORTED,
    E_PROP_SET_UNSUPPORTED,
};

TEST(CodeText, EachCodeHasWordsOfItsOwn) {
    std::set<std::u16string_view> texts;
    for (const HRESULT code : codes) {
        const std::u16string_view text = codeText(code);
        ASSERT_FALSE(text.empty()) << std::hex << code;
        EXPECT_NE(text.back(), u'.');
        EXPECT_TRUE(texts.insert(text).second) << std::hex << code;
    }
}

TEST(CodeText, CodesOfTheSystemAreLeftToIt) {
    for (const HRESULT code : {E_ACCESSDENIED, VEX_E_DISK_FULL, VEX_E_BUSY, VEX_E_FILE_EXISTS, VEX_E_TIMEOUT})
        EXPECT_EQ(codeText(code), u"");
    EXPECT_EQ(codeText(VEX_RESULT(0xC0001234u)), u"");
}

}  // namespace codes_test
}  // namespace vexcap
