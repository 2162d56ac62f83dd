// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests what only our containers have: small pointers, their number, types that go, a start without arguments.
#include <gtest/gtest.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGTransform.h>

using namespace osg;

TEST(OwnFieldContainerPtr, GivenAnyKind_IsOnePointerWide) {
    static_assert(sizeof(NodePtr) == sizeof(void*) && sizeof(GeometryPtr) == sizeof(void*), "one pointer");
    static_assert(std::is_trivially_copyable<NodePtr>::value, "copied like an integer");
}

TEST(OwnFieldContainerFactory, GivenManyContainersComeAndGo_ForgetsThem) {
    FieldContainerFactory* const factory = FieldContainerFactory::the();
    const GroupRefPtr first(Group::create());
    const UInt32 before = factory->getNumContainers();
    std::vector<GroupPtr> groups;
    for (int i = 0; i < 20000; ++i)
        groups.push_back(Group::create());
    EXPECT_EQ(before + 20000, factory->getNumContainers());
    for (const GroupPtr& group : groups)
        subRefCP(group);
    EXPECT_EQ(before, factory->getNumContainers());
    EXPECT_TRUE(factory->getContainer(first.get().getFieldContainerId()) == first.get());
    EXPECT_TRUE(factory->getContainer(first.get().getFieldContainerId() + 10000) == NullFC);
    EXPECT_TRUE(factory->getContainer(0xFFFFFFFFu) == NullFC);
}

TEST(OwnFieldContainerType, GivenTypeThatGoes_LeavesTheFactory) {
    FieldContainerFactory* const factory = FieldContainerFactory::the();
    const UInt32 containers = factory->getNumContainers();
    {
        // Like a type in a library that is unloaded.
        FieldContainerType passing("TestPassing", "Transform", nullptr,
                                   []() -> FieldContainerPtr { return Transform::createEmpty(); });
        EXPECT_TRUE(factory->findType("TestPassing") == &passing);
        EXPECT_TRUE(passing.isDerivedFrom(NodeCore::getClassType()));
        passing.getPrototype();
        EXPECT_EQ(containers + 1, factory->getNumContainers());
    }
    EXPECT_TRUE(factory->findType("TestPassing") == nullptr);
    EXPECT_EQ(containers, factory->getNumContainers());
}

TEST(OwnInit, GivenOsgInit_AllTypesHaveTheirPrototypes) {
    EXPECT_TRUE(osgInit());
    EXPECT_TRUE(GeoTexCoords4f::getClassType().isInitialized());
    EXPECT_TRUE(osgExit());
}

TEST(OwnFieldContainerPtr, GivenRefPtr_IsCastWithoutGet) {
    const TransformRefPtr transform(Transform::create());
    EXPECT_TRUE(TransformPtr::dcast(transform) == transform.get());
}
