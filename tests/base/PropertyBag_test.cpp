#include "kelvara/base/PropertyBag.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvara {
namespace {

using Keys = std::vector<std::string>;

TEST(PropertyBag, ValueEqualToItsDefaultIsNotStoredAndDropsAnEarlierOne) {
    PropertyBag bag;
    bag.WriteProperty("Caption", Variant("Clientes"), Variant(""));
    bag.WriteProperty("Theme", Variant(int32_t{2}), Variant(int32_t{2}));
    EXPECT_EQ(bag.Keys(), Keys{"Caption"});
    bag.WriteProperty("caption", Variant(""), Variant(""));
    EXPECT_FALSE(bag.Contains("Caption"));
    EXPECT_EQ(bag.ReadProperty("Caption", Variant("padrão")), Variant("padrão"));
}

TEST(PropertyBag, KeysMatchWithoutAsciiCaseAndKeepTheirFirstPlace) {
    PropertyBag bag;
    bag.WriteProperty("GridLines", Variant(int32_t{1}), Variant(int32_t{0}));
    bag.WriteProperty("Caption", Variant("a"), Variant(""));
    bag.WriteProperty("GRIDLINES", Variant(int32_t{3}), Variant(int32_t{0}));
    EXPECT_EQ(bag.Keys(), (Keys{"GridLines", "Caption"}));
    EXPECT_EQ(bag.ReadProperty("gridlines", Variant()), Variant(int32_t{3}));
    // Only ASCII letters fold: "Ç" and "ç" are different keys.
    bag.WriteProperty("Ç", Variant("x"), Variant(""));
    EXPECT_FALSE(bag.Contains("ç"));
}

TEST(PropertyBag, NumbersOfEqualValueCountAsTheDefaultWhateverTheirType) {
    struct Case {
        Variant value;
        Variant defaultValue;
        bool stored;
    };
    const Case cases[] = {
        {Variant(int16_t{3}), Variant(int32_t{3}), false},
        {Variant(true), Variant(int32_t{-1}), false},
        {Variant(1.5), Variant(1.5), false},
        {Variant(int32_t{0}), Variant(false), false},
        {Variant("3"), Variant(int32_t{3}), true},
        {Variant(int32_t{0}), Variant(), true},
        {Variant(int32_t{4}), Variant(int32_t{3}), true},
    };
    for (const Case& c : cases) {
        PropertyBag bag;
        bag.WriteProperty("k", c.value, c.defaultValue);
        EXPECT_EQ(bag.Contains("k"), c.stored) << "type " << static_cast<int>(c.value.Type());
    }
}

TEST(PropertyBag, NestedBagsCopyDeeplyAndCompareByContent) {
    PropertyBag font;
    font.WriteProperty("Name", Variant("Tahoma"), Variant(""));
    PropertyBag bag;
    bag.WriteBag("Font", font);
    PropertyBag copy = bag;
    font.WriteProperty("Name", Variant("Arial"), Variant(""));
    bag.WriteBag("Font", font);
    ASSERT_NE(copy.ReadBag("font"), nullptr);
    EXPECT_EQ(copy.ReadBag("font")->ReadProperty("Name", Variant()), Variant("Tahoma"));
    EXPECT_FALSE(copy == bag);
    // A bag key reads as absent for plain values and the other way round.
    EXPECT_EQ(bag.ReadProperty("Font", Variant(int32_t{7})), Variant(int32_t{7}));
    EXPECT_EQ(bag.ReadBag("Name"), nullptr);
    copy.WriteBag("Font", font);
    EXPECT_TRUE(copy == bag);
}

TEST(PropertyBag, KeysAfterADroppedOneAreStillFoundInCopiesAndMoves) {
    PropertyBag bag;
    for (const char* key : {"Alpha", "Beta", "Gamma", "Delta"}) {
        bag.WriteProperty(key, Variant(key), Variant(""));
    }
    bag.WriteProperty("BETA", Variant(""), Variant(""));
    bag.WriteProperty("beta", Variant("again"), Variant(""));
    EXPECT_EQ(bag.Keys(), (Keys{"Alpha", "Gamma", "Delta", "beta"}));
    const PropertyBag copy = bag;
    const PropertyBag moved = std::move(bag);
    for (const PropertyBag* b : {&copy, &moved}) {
        EXPECT_EQ(b->ReadProperty("gamma", Variant()), Variant("Gamma"));
        EXPECT_EQ(b->ReadProperty("DELTA", Variant()), Variant("Delta"));
        EXPECT_EQ(b->ReadProperty("Beta", Variant()), Variant("again"));
    }
}

}  // namespace
}  // namespace kelvara
