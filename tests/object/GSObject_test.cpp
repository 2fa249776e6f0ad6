#include "gs/file/GSTagWrite.h"
#include "gs/object/GSObject.h"
#include "gs/object/GSRuntimeClass.h"
#include "tests/object/TestObjects.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

using qmtest::QMBroken;
using qmtest::QMNode;
using qmtest::QMPoint;

TEST(GSObjectCount, ReleaseDeletesOnlyWhenTheCountFallsFromOne)
{
    int before = QMPoint::live;
    auto* p = new QMPoint(1);
    EXPECT_EQ(p->getRefCount(), 0);
    p->retain();
    p->retain();
    p->release();
    EXPECT_EQ(QMPoint::live, before + 1);
    p->releaseNoDelete();
    EXPECT_EQ(p->getRefCount(), 0);
    EXPECT_EQ(QMPoint::live, before + 1);
    p->retain();
    p->release();
    EXPECT_EQ(QMPoint::live, before);
}

TEST(GSObjectCount, AssigningTheHeldObjectChangesNoCount)
{
    auto* p = new QMPoint(1);
    GSObject* slot = nullptr;
    GSObject::assignObject(&slot, p);
    EXPECT_EQ(p->getRefCount(), 1);
    GSObject::assignObject(&slot, p);
    EXPECT_EQ(p->getRefCount(), 1);
    int before = QMPoint::live;
    GSObject::assignObject(&slot, nullptr);
    EXPECT_EQ(QMPoint::live, before - 1);
    EXPECT_EQ(slot, nullptr);
}

TEST(GSObjectCount, CountsStayExactAcrossThreads)
{
    QMPoint p(1);
    p.retain();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&p] {
            for (int i = 0; i < 10000; ++i) {
                p.retain();
                p.releaseNoDelete();
            }
        });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(p.getRefCount(), 1);
    p.releaseNoDelete();
}

TEST(GSObjectClass, KindIsExactAndMemberIncludesAncestors)
{
    QMBroken b;
    EXPECT_TRUE(b.isKindOfRuntimeClass(QMBroken::gsClassQMBroken));
    EXPECT_FALSE(b.isKindOfRuntimeClass(QMPoint::gsClassQMPoint));
    EXPECT_FALSE(b.isKindOfRuntimeClass(GSObject::gsClassGSObject));
    EXPECT_TRUE(b.isMemberOfRuntimeClass(QMPoint::gsClassQMPoint));
    EXPECT_TRUE(b.isMemberOfRuntimeClass(GSObject::gsClassGSObject));
    EXPECT_FALSE(b.isMemberOfRuntimeClass(QMNode::gsClassQMNode));
}

TEST(GSObjectClass, DescendantExcludesTheClassItself)
{
    EXPECT_TRUE(QMBroken::gsClassQMBroken.isDescendantOf(GSObject::gsClassGSObject));
    EXPECT_TRUE(QMBroken::gsClassQMBroken.isDescendantOf(QMPoint::gsClassQMPoint));
    EXPECT_FALSE(QMPoint::gsClassQMPoint.isDescendantOf(QMPoint::gsClassQMPoint));
    EXPECT_FALSE(GSObject::gsClassGSObject.isDescendantOf(QMPoint::gsClassQMPoint));
}

TEST(GSRuntimeClassRegistry, LibraryClassesAreRegisteredWithTheirParents)
{
    struct Expected {
        char const* name;
        char const* parent;
        bool creatable;
    } const expected[] = {
        {"GSObject", nullptr, false},
        {"GSFileWorker", "GSObject", false},
        {"GSFileWorkerMemory", "GSFileWorker", true},
        {"GSTagWriteFileWorker", "GSFileWorker", false},
    };
    // Reference the classes so that their units are linked in.
    EXPECT_NE(&GSTagWriteFileWorker::gsClassGSTagWriteFileWorker, nullptr);
    EXPECT_NE(&GSFileWorkerMemory::gsClassGSFileWorkerMemory, nullptr);
    for (auto const& e : expected) {
        SCOPED_TRACE(e.name);
        GSRuntimeClass* c = GSRuntimeClass::getRuntimeClassForName(GSString(e.name));
        ASSERT_NE(c, nullptr);
        EXPECT_STREQ(c->getName().c_str(), e.name);
        if (e.parent) {
            ASSERT_NE(c->getParent(), nullptr);
            EXPECT_STREQ(c->getParent()->getName().c_str(), e.parent);
        } else {
            EXPECT_EQ(c->getParent(), nullptr);
        }
        GSObject* made = GSRuntimeClass::createObjectForName(GSString(e.name));
        EXPECT_EQ(made != nullptr, e.creatable);
        if (made) {
            EXPECT_TRUE(made->isKindOfRuntimeClass(*c));
            EXPECT_EQ(made->getRefCount(), 0);
            delete made;
        }
    }
}

TEST(GSRuntimeClassRegistry, LookupIsExactAndUnknownNamesGiveNull)
{
    EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(GSString("QMPoint")), &QMPoint::gsClassQMPoint);
    EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(GSString("QMPoin")), nullptr);
    EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(GSString("QMPointX")), nullptr);
    EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(GSString("")), nullptr);
    EXPECT_EQ(GSRuntimeClass::createObjectForName(GSString("NoSuchClass")), nullptr);
}

TEST(GSRuntimeClassRegistry, InsertionKeepsNamesSortedAndPutsDuplicatesFirst)
{
    // Registrations of this test live until exit, as every runtime class does.
    static GSRuntimeClass a(GSString("QMZebra"), nullptr, nullptr);
    static GSRuntimeClass b(GSString("QMAardvark"), nullptr, nullptr);
    static GSRuntimeClass dup(GSString("QMZebra"), nullptr, &QMPoint::_createFunction);
    EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(GSString("QMAardvark")), &b);
    // The later class of a name sorts in front of the earlier one and wins the lookup.
    EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(GSString("QMZebra")), &dup);
    long n = GSRuntimeClass::getRegisteredCount();
    EXPECT_GE(n, 9);
}

TEST(GSObjectCopy, CopyObjectMakesAnEqualUnownedObjectOfTheSameClass)
{
    QMPoint p(-42);
    GSObject* copy = p.copyObject();
    ASSERT_NE(copy, nullptr);
    EXPECT_TRUE(copy->isKindOfRuntimeClass(QMPoint::gsClassQMPoint));
    EXPECT_EQ(static_cast<QMPoint*>(copy)->x, -42);
    EXPECT_EQ(copy->getRefCount(), 0);
    delete copy;
}

TEST(GSObjectCopy, CopyContentRefusesAnotherClass)
{
    QMPoint p(1);
    QMNode n;
    EXPECT_EQ(p.copyContentTo(&n), 1);
    QMBroken b;
    EXPECT_EQ(p.copyContentTo(&b), 1);
}

TEST(GSObjectCopy, AbstractOrFailingClassesGiveNoCopy)
{
    GSObject base;
    EXPECT_EQ(base.copyObject(), nullptr);
    int before = QMPoint::live;
    QMBroken broken;
    EXPECT_EQ(broken.copyObject(), nullptr);
    EXPECT_EQ(QMPoint::live, before + 1); // only `broken` itself: the failed copy was deleted
}

TEST(GSObjectCopy, CopyWithFileCopiesNestedObjects)
{
    auto* shared = new QMPoint(5);
    auto* inner = new QMNode(shared, false);
    auto* outer = new QMNode(inner, false);
    outer->retain();
    int before = QMPoint::live;
    GSObject* copy = outer->copyWithFile(64, nullptr);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->getRefCount(), 0);
    auto* outerCopy = static_cast<QMNode*>(copy);
    ASSERT_NE(outerCopy->child, nullptr);
    auto* innerCopy = static_cast<QMNode*>(outerCopy->child);
    ASSERT_NE(innerCopy->child, nullptr);
    EXPECT_NE(innerCopy->child, shared);
    EXPECT_EQ(static_cast<QMPoint*>(innerCopy->child)->x, 5);
    EXPECT_EQ(QMPoint::live, before + 1);
    delete copy;
    EXPECT_EQ(QMPoint::live, before);
    outer->release();
    EXPECT_EQ(QMPoint::live, before - 1);
}

TEST(GSObjectCopy, CopyWithFileUsesTheGivenFileAtItsPosition)
{
    GSFile f(-100, 16);
    qmtest::openForWriting(f);
    ASSERT_EQ(f.writeLong(0x01020304), 0);
    QMPoint p(9);
    GSObject* copy = p.copyWithFile(0, &f);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(static_cast<QMPoint*>(copy)->x, 9);
    delete copy;
    // The copy went behind what the file held: the first four bytes are untouched.
    EXPECT_EQ(qmtest::fileHex(f).substr(0, 11), "01 02 03 04");
}
