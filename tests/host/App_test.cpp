#include "kelvara/host/App.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <string>

namespace kelvara {
namespace {

class AppSettingsTest : public ::testing::Test {
protected:
    // Tests may run at once in separate processes: each has its own folder.
    std::filesystem::path folder =
        std::filesystem::temp_directory_path() /
        ("kelvara-settings-" +
         std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) + "-" +
         std::to_string(::getpid()));
    void SetUp() override {
        std::filesystem::remove_all(folder);
        App::SetSettingsFolder(folder.string());
    }
    void TearDown() override {
        App::SetSettingsFolder("");
        std::filesystem::remove_all(folder);
    }
};

TEST_F(AppSettingsTest, ValuesComeBackWhateverTheyHold) {
    const std::pair<const char*, const char*> cases[] = {
        {"Plain", "value"},
        {"Empty", ""},
        {"Lines", "one\r\ntwo\nthree"},
        {"Back\\slash", "C:\\dados\\n"},
        {"a=b", "c=d"},
        {"[x]", "]"},
        {"Acentuação", "São Paulo"},
    };
    for (const auto& [key, value] : cases) {
        ASSERT_TRUE(SaveSetting("Vendas", "Janela", key, value)) << key;
    }
    for (const auto& [key, value] : cases) {
        EXPECT_EQ(GetSetting("Vendas", "Janela", key, "?"), value) << key;
    }
    EXPECT_EQ(GetAllSettings("Vendas", "Janela").size(), std::size(cases));
}

TEST_F(AppSettingsTest, NamesIgnoreCaseAndApplicationsAreApart) {
    SaveSetting("Vendas", "Janela", "Left", "10");
    SaveSetting("vendas", "JANELA", "left", "20");
    EXPECT_EQ(GetSetting("VENDAS", "janela", "LEFT"), "20");
    EXPECT_EQ(GetAllSettings("Vendas", "Janela").size(), 1U);
    EXPECT_EQ(GetSetting("Estoque", "Janela", "Left", "none"), "none");
    // A name that tries to leave the folder stays in it.
    SaveSetting("../../evil", "s", "k", "v");
    EXPECT_EQ(std::filesystem::path(App::SettingsFile("../../evil")).parent_path(), folder);
    EXPECT_EQ(GetSetting("../../evil", "s", "k"), "v");
}

TEST_F(AppSettingsTest, DeleteRemovesAKeyOrAWholeSection) {
    SaveSetting("Vendas", "A", "k1", "1");
    SaveSetting("Vendas", "A", "k2", "2");
    SaveSetting("Vendas", "B", "k1", "3");
    EXPECT_TRUE(DeleteSetting("Vendas", "A", "k1"));
    EXPECT_EQ(GetSetting("Vendas", "A", "k1", "gone"), "gone");
    EXPECT_EQ(GetSetting("Vendas", "A", "k2"), "2");
    EXPECT_TRUE(DeleteSetting("Vendas", "A"));
    EXPECT_TRUE(GetAllSettings("Vendas", "A").empty());
    EXPECT_EQ(GetSetting("Vendas", "B", "k1"), "3");
    EXPECT_TRUE(DeleteSetting("Vendas", "Nowhere"));
}

}  // namespace
}  // namespace kelvara
