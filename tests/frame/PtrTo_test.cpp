#include "frame/PtrTo.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace kestrane {
namespace {

/// Counts its living objects.
struct Counted {
    static int living;
    int value = 0;
    explicit Counted(int v = 0) : value(v) { ++living; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    virtual ~Counted() { --living; }
};
int Counted::living = 0;

struct Derived : Counted {
    using Counted::Counted;
};

TEST(PtrTo, NullHandleHoldsNothing) {
    const PtrTo<Counted> a;
    const PtrTo<Counted> b(nullptr);
    EXPECT_FALSE(a);
    EXPECT_EQ(a.get(), nullptr);
    EXPECT_EQ(a.use_count(), 0);
    EXPECT_TRUE(a == nullptr);
    EXPECT_TRUE(a == b);
    const DynPtr<Counted> owner(static_cast<Counted*>(nullptr));
    EXPECT_EQ(owner.use_count(), 0);
}

TEST(PtrTo, LastHandleDeletesAnOwnedObjectOnce) {
    {
        DynPtr<Counted> first(new Counted(7));
        EXPECT_EQ(first.use_count(), 1);
        {
            const PtrTo<Counted> second = first;
            EXPECT_EQ(second.use_count(), 2);
            first = nullptr;
            EXPECT_EQ(second.use_count(), 1);
            EXPECT_EQ(second->value, 7);
            EXPECT_EQ(Counted::living, 1);
        }
        EXPECT_EQ(Counted::living, 0);
    }
    EXPECT_EQ(Counted::living, 0);
}

TEST(PtrTo, HandleOnAnothersObjectDoesNotDelete) {
    Counted object(3);
    {
        const PtrTo<Counted> handle(object);
        const PtrTo<Counted> copy(handle);
        EXPECT_EQ(copy.use_count(), 0);
        EXPECT_EQ(&*copy, &object);
    }
    EXPECT_EQ(Counted::living, 1);
}

TEST(PtrTo, AssignmentDropsTheOldObject) {
    auto a = make_dyn<Counted>(1);
    const auto b = make_dyn<Counted>(2);
    a = b;
    EXPECT_EQ(Counted::living, 1);
    EXPECT_EQ(a->value, 2);
    EXPECT_EQ(b.use_count(), 2);
    const auto& same = a;
    a = same;
    EXPECT_EQ(a.use_count(), 2);
    EXPECT_EQ(a->value, 2);
}

TEST(PtrTo, MoveHandsTheShareOver) {
    auto a = make_dyn<Counted>(4);
    const DynPtr<Counted> b = std::move(a);
    EXPECT_EQ(b.use_count(), 1);
    EXPECT_EQ(b->value, 4);
    EXPECT_EQ(a.get(), nullptr);  // NOLINT: the state after a move is part of the class
}

TEST(PtrTo, DerivedHandleSharesItsCountWithABaseHandle) {
    {
        PtrTo<Counted> base;
        {
            const auto derived = make_dyn<Derived>(5);
            base = derived;
            const DynPtr<Counted> owner = derived;
            const PtrTo<const Counted> reader = derived;
            EXPECT_EQ(derived.use_count(), 4);
            EXPECT_TRUE(base == derived);
            EXPECT_TRUE(reader == derived);
        }
        EXPECT_EQ(base.use_count(), 1);
        EXPECT_EQ(base->value, 5);
    }
    EXPECT_EQ(Counted::living, 0);
}

TEST(PtrTo, ComparesByObjectNotByValue) {
    const auto a = make_dyn<Counted>(1);
    const auto b = make_dyn<Counted>(1);
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(a == PtrTo<Counted>(*a));
}

TEST(PtrTo, VectorsOfHandlesMoveTheirObjectsUnharmed) {
    {
        std::vector<DynPtr<Counted>> handles;
        for (int i = 0; i < 100; ++i) handles.push_back(make_dyn<Counted>(i));
        handles.erase(handles.begin(), handles.begin() + 40);
        EXPECT_EQ(Counted::living, 60);
        EXPECT_EQ(handles.front()->value, 40);
        const auto copy = handles;
        handles.clear();
        EXPECT_EQ(Counted::living, 60);
        EXPECT_EQ(copy.back()->value, 99);
    }
    EXPECT_EQ(Counted::living, 0);
}

}  // namespace
}  // namespace kestrane
