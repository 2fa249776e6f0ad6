#include "gs/file/GSTagWrite.h"
#include "gs/object/GSArrayMemory.h"
#include "gs/object/GSObject.h"
#include "gs/object/GSRuntimeClass.h"
#include "tests/object/TestObjects.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using namespace qmtest;

TEST(GSObjectCount, ReleaseDeletesOnlyWhenTheCountFallsFromOne)
{
    int before = QMPoint::live;
    auto* p = new QMPoint(1);
    EXPECT_EQ(p->getRefCount(), 0);
    p->retain();
    p->retain();
    p->release();
    p->releaseNoDelete();
    EXPECT_EQ(p->getRefCount(), 0);
    EXPECT_EQ(QMPoint::live, before + 1);

    // Assigning the held object again changes no count; assigning null releases it.
    GSObject* slot = nullptr;
    GSObject::assignObject(&slot, p);
    GSObject::assignObject(&slot, p);
    EXPECT_EQ(p->getRefCount(), 1);
    GSObject::assignObject(&slot, nullptr);
    EXPECT_EQ(QMPoint::live, before);
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

TEST(GSObjectClass, KindIsExactMemberAndDescendantFollowAncestors)
{
    QMBroken b;
    EXPECT_TRUE(b.isKindOfRuntimeClass(QMBroken::gsClassQMBroken));
    EXPECT_FALSE(b.isKindOfRuntimeClass(QMPoint::gsClassQMPoint));
    EXPECT_TRUE(b.isMemberOfRuntimeClass(QMPoint::gsClassQMPoint));
    EXPECT_TRUE(b.isMemberOfRuntimeClass(GSObject::gsClassGSObject));
    EXPECT_FALSE(b.isMemberOfRuntimeClass(QMNode::gsClassQMNode));
    EXPECT_TRUE(QMBroken::gsClassQMBroken.isDescendantOf(GSObject::gsClassGSObject));
    EXPECT_FALSE(QMPoint::gsClassQMPoint.isDescendantOf(QMPoint::gsClassQMPoint)); // not itself
    EXPECT_FALSE(GSObject::gsClassGSObject.isDescendantOf(QMPoint::gsClassQMPoint));
}

// Files name their objects' classes, so every class that can appear must be found by name.
TEST(GSRuntimeClassRegistry, LibraryClassesAreRegisteredWithTheirParents)
{
    // Referenced so that their units are linked in.
    EXPECT_EQ(GSTagWriteFileWorker::gsClassGSTagWriteFileWorker.getParent(), &GSFileWorker::gsClassGSFileWorker);
    EXPECT_EQ(GSFileWorkerMemory::gsClassGSFileWorkerMemory.getParent(), &GSFileWorker::gsClassGSFileWorker);
    EXPECT_EQ(GSFileWorker::gsClassGSFileWorker.getParent(), &GSObject::gsClassGSObject);
    EXPECT_EQ(GSObject::gsClassGSObject.getParent(), nullptr);
    for (char const* name : {"GSObject", "GSFileWorker", "GSFileWorkerMemory", "GSTagWriteFileWorker"}) {
        GSRuntimeClass* c = GSRuntimeClass::getRuntimeClassForName(GSString(name));
        ASSERT_NE(c, nullptr) << name;
        EXPECT_STREQ(c->getName().c_str(), name);
        GSObject* made = GSRuntimeClass::createObjectForName(GSString(name));
        EXPECT_EQ(made != nullptr, std::string(name) == "GSFileWorkerMemory") << name; // the others are abstract
        if (made) {
            EXPECT_TRUE(made->isKindOfRuntimeClass(*c));
            EXPECT_EQ(made->getRefCount(), 0);
            delete made;
        }
    }
}

TEST(GSRuntimeClassRegistry, LookupIsExactAndTheLaterOfTwoNamesakesWins)
{
    EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(GSString("QMPoint")), &QMPoint::gsClassQMPoint);
    for (char const* name : {"QMPoin", "QMPointX", ""})
        EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(GSString(name)), nullptr) << name;
    EXPECT_EQ(GSRuntimeClass::createObjectForName(GSString("NoSuchClass")), nullptr);
    // Registrations of this test live until exit, as every runtime class does.
    static GSRuntimeClass a(GSString("QMZebra"), nullptr, nullptr);
    static GSRuntimeClass b(GSString("QMAardvark"), nullptr, nullptr);
    static GSRuntimeClass dup(GSString("QMZebra"), nullptr, &QMPoint::_createFunction);
    EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(GSString("QMAardvark")), &b);
    EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(GSString("QMZebra")), &dup);
}

// A class that cannot be stored when the registry must grow is counted and not found; the next
// one is stored again. The classes made here live until the process ends, as registered ones do.
TEST(GSRuntimeClassRegistry, AFailedRegistrationIsCounted)
{
    // Runtime classes live as long as the program, as static ones do; kept here (in a list that is
    // itself never destroyed, since the leak check runs after static destructors) so that the leak
    // checker sees them held also when the registry refused them.
    static auto* kept = new std::vector<GSRuntimeClass*>;
    auto registerOne = [](int i) {
        GSString name(("QMFiller" + std::to_string(i)).c_str());
        kept->push_back(new GSRuntimeClass(name, &GSObject::gsClassGSObject, nullptr));
        return kept->back();
    };
    // With every allocation refused, classes are stored while the registry has room, and the
    // first that needs it to grow is refused (whatever other tests registered before).
    long const failedBefore = GSRuntimeClass::getFailedRegistrationCount();
    GSArrayAllocationHook previous = GSSetArrayAllocationHook([](size_t) { return false; });
    GSRuntimeClass* refused = nullptr;
    for (int i = 0; i < 1000 && GSRuntimeClass::getFailedRegistrationCount() == failedBefore; ++i)
        refused = registerOne(i);
    GSSetArrayAllocationHook(previous);
    EXPECT_EQ(GSRuntimeClass::getFailedRegistrationCount(), failedBefore + 1);
    EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(refused->getName()), nullptr);
    GSRuntimeClass* stored = registerOne(1000);
    EXPECT_EQ(GSRuntimeClass::getFailedRegistrationCount(), failedBefore + 1);
    EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(stored->getName()), stored);
}

TEST(GSObjectCopy, CopyObjectGivesAnEqualUnownedObjectOfTheSameClassOrNull)
{
    QMPoint p(-42);
    GSObject* copy = p.copyObject();
    ASSERT_NE(copy, nullptr);
    EXPECT_TRUE(copy->isKindOfRuntimeClass(QMPoint::gsClassQMPoint));
    EXPECT_EQ(xOf(copy), -42);
    EXPECT_EQ(copy->getRefCount(), 0);
    delete copy;

    QMNode n;
    QMBroken broken;
    EXPECT_EQ(p.copyContentTo(&n), 1);      // another class
    EXPECT_EQ(p.copyContentTo(&broken), 1); // even a descendant
    EXPECT_EQ(GSObject().copyObject(), nullptr);
    int before = QMPoint::live;
    EXPECT_EQ(broken.copyObject(), nullptr);
    EXPECT_EQ(QMPoint::live, before); // the failed copy was deleted
}

TEST(GSObjectCopy, CopyWithFileCopiesNestedObjects)
{
    auto* shared = new QMPoint(5);
    auto* outer = new QMNode(new QMNode(shared, false), false);
    outer->retain();
    int before = QMPoint::live;
    auto* copy = static_cast<QMNode*>(outer->copyWithFile(64, nullptr));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->getRefCount(), 0);
    ASSERT_NE(copy->child, nullptr);
    GSObject* point = static_cast<QMNode*>(copy->child)->child;
    ASSERT_NE(point, nullptr);
    EXPECT_NE(point, shared);
    EXPECT_EQ(xOf(point), 5);
    EXPECT_EQ(QMPoint::live, before + 1);
    delete copy;
    EXPECT_EQ(QMPoint::live, before);
    outer->release();
    EXPECT_EQ(QMPoint::live, before - 1);
}

TEST(GSObjectCopy, CopyWithFileUsesTheGivenFileAtItsPosition)
{
    WriteFile w;
    ASSERT_EQ(w.f.writeLong(0x01020304), 0);
    GSObject* copy = QMPoint(9).copyWithFile(0, &w.f);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(xOf(copy), 9);
    delete copy;
    // The copy went behind what the file held: the first four bytes are untouched.
    EXPECT_EQ(fileHex(w.f).substr(0, 11), "01 02 03 04");
}
