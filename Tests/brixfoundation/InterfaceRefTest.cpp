#include <gtest/gtest.h>

#include "contracts/BrixFoundation.h"

using namespace Brix;

namespace {

class Counted : public BrixUnknown {
  public:
    void AddRef() override { ++references; }
    void Release() override { --references; }
    void Destroy() override {}
    std::int32_t QueryInterface(const tulocore::utility::Guid&, void**) override {
        return kInterfaceNotCarried;
    }
    int references = 0;
};

}  // namespace

TEST(InterfaceRef, CountsEveryWayOfCopyingAndMoving) {
    Counted object;
    {
        InterfaceRef<Counted> first(&object);
        EXPECT_EQ(object.references, 1);
        InterfaceRef<Counted> second = first;
        InterfaceRef<BrixUnknown> base = second;
        EXPECT_EQ(object.references, 3);
        InterfaceRef<Counted> moved = std::move(second);
        EXPECT_EQ(object.references, 3);
        moved = first;
        moved = *&moved;
        EXPECT_EQ(object.references, 3);
        first = nullptr;
        EXPECT_EQ(object.references, 2);
        Counted* const detached = moved.Detach();
        EXPECT_EQ(object.references, 2);
        InterfaceRef<Counted> adopted(detached, AdoptReference{});
        EXPECT_EQ(object.references, 2);
    }
    EXPECT_EQ(object.references, 0);
}

TEST(InterfaceRef, DereferencingNullRaises) {
    const InterfaceRef<Counted> none;
    EXPECT_THROW((*none).AddRef(), NullInterfaceException);
    try {
        none->AddRef();
    } catch (const std::exception& exception) {
        EXPECT_STREQ(exception.what(), "A NULL interface pointer has been dereferenced.");
    }
}
