#include "kelvara/imagectl/USImageList.h"

#include <gtest/gtest.h>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/Form.h"
#include "kelvara/image/API32bppDIB.h"

namespace kelvara {
namespace {

std::unique_ptr<API32bppDIB> Solid(int32_t size, uint8_t blue) {
    auto made = std::make_unique<API32bppDIB>();
    API32bppDIB& dib = *made;
    dib.InitializeDIB(size, size);
    for (int32_t y = 0; y < size; ++y) {
        uint8_t* row = dib.Pixels().Row(y);
        for (int32_t x = 0; x < size; ++x) {
            row[x * 4 + 0] = blue;
            row[x * 4 + 3] = 255;
        }
    }
    return made;
}

class USImageListTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    Form form{"frm", FormMode::Design};

    USImageList* Stored(const PropertyBag& bag, const std::string& name) {
        return static_cast<USImageList*>(
            form.Controls().AddCreated(std::make_unique<USImageList>(), name, &bag, true));
    }
};

TEST_F(USImageListTest, ListsGoIntoTheBagAsExportedFilesAndComeBack) {
    auto* holder = form.Controls().Add<USImageList>("ils");
    APIImageLists& lists = holder->ImageLists();
    lists.Add(16, 16, "toolbar").Images().AddImage_fromDIB(*Solid(16, 200), 0, "save", "Salvar");
    lists.Add(24, 24, "big").Images().AddImage_fromDIB(*Solid(24, 90), 0, "open");
    PropertyBag bag;
    holder->SaveTo(bag);
    EXPECT_EQ(bag.ReadProperty("Count", Variant()), Variant(int32_t{2}));
    ASSERT_NE(bag.ReadProperty("Img1", Variant()).Get<ByteArray>(), nullptr);
    ASSERT_NE(bag.ReadProperty("Img2", Variant()).Get<ByteArray>(), nullptr);

    USImageList* copy = Stored(bag, "copy");
    ASSERT_EQ(copy->ImageLists().Count(), 2);
    APIImageList& toolbar = copy->ImageLists().Item(1);
    EXPECT_EQ(toolbar.Key(), "toolbar");
    ASSERT_EQ(toolbar.Images().Count(), 1);
    EXPECT_EQ(toolbar.Images().Item(1).Key(), "save");
    EXPECT_EQ(toolbar.Images().Item(1).Tag(), "Salvar");
    EXPECT_EQ(copy->ImageLists().Item("big").Images().Width(), 24);
    EXPECT_FALSE(copy->UserMode());
    PropertyBag again;
    copy->SaveTo(again);
    EXPECT_EQ(again.ReadProperty("Img2", Variant()), bag.ReadProperty("Img2", Variant()));
}

TEST_F(USImageListTest, ADamagedListIsLeftOutQuietly) {
    auto* holder = form.Controls().Add<USImageList>("ils");
    holder->ImageLists().Add(16, 16, "a");
    holder->ImageLists().Add(16, 16, "b");
    PropertyBag bag;
    holder->SaveTo(bag);
    bag.WriteProperty("Img1", Variant(ByteArray{1, 2, 3}), Variant());
    USImageList* copy = Stored(bag, "copy");
    ASSERT_EQ(copy->ImageLists().Count(), 1);
    EXPECT_EQ(copy->ImageLists().Item(1).Key(), "b");
}

TEST_F(USImageListTest, NoListsStoreNothingAndChangesAreAnnounced) {
    auto* holder = form.Controls().Add<USImageList>("ils");
    PropertyBag bag;
    holder->SaveTo(bag);
    EXPECT_FALSE(bag.Contains("Count"));
    std::vector<std::string> keys;
    holder->PropertyChanges.Connect([&](const std::string& key) { keys.push_back(key); });
    holder->UpdateLists();
    EXPECT_EQ(keys, std::vector<std::string>{"UpdateLists"});
    // Made by name, as a form file does.
    EXPECT_NE(form.Controls().Add("KelvaraEx.USImageList", "byName"), nullptr);
}

}  // namespace
}  // namespace kelvara
