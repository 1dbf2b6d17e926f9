// Making filters by class identifier.
#include "graph/builder/class_factory.h"

#include <gtest/gtest.h>

#include <new>

#include "graph/testing/transforms.h"

namespace vexcap {
namespace class_factory_test {

constexpr vex_guid classA = {1, 0, 0, {}}, classB = {2, 0, 0, {}}, classNone = {3, 0, 0, {}}, classFull = {4, 0, 0, {}};

const FilterTemplate table[] = {
    {u"A", classA,
     [](void* context) -> Ref<CBaseFilter> {
         ++*static_cast<int*>(context);
         return makeRef<test::AddInPlace>(1u);
     }},
    {u"None", classNone, [](void*) -> Ref<CBaseFilter> { return nullptr; }},
    {u"Full", classFull, [](void*) -> Ref<CBaseFilter> { throw std::bad_alloc(); }},
};

TEST(ClassFactory, MakesANewFilterOfTheClassEachTime) {
    int made = 0;
    const auto first = createFilter(table, classA, &made), second = createFilter(table, classA, &made);
    ASSERT_TRUE(first.ok() && second.ok());
    EXPECT_EQ(made, 2);
    EXPECT_FALSE(first.value() == second.value());
    EXPECT_EQ(first.value()->AddRef(), 2u);  // the caller's was the only one
    first.value()->Release();
}

TEST(ClassFactory, AnUnknownClassHasACodeOfItsOwn) {
    EXPECT_EQ(createFilter(table, classB, nullptr).code(), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(createFilter({}, classA, nullptr).code(), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(uint32_t(CLASS_E_CLASSNOTAVAILABLE), 0x80040111u);
}

TEST(ClassFactory, AFilterThatCannotBeMadeIsWantOfMemory) {
    EXPECT_EQ(createFilter(table, classNone, nullptr).code(), E_OUTOFMEMORY);
    EXPECT_EQ(createFilter(table, classFull, nullptr).code(), E_OUTOFMEMORY);
}

}  // namespace class_factory_test
}  // namespace vexcap
