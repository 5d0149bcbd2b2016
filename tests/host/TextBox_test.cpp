#include "kelvara/host/TextBox.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/EditControl.h"
#include "kelvara/host/Form.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {
namespace {

using Lines = std::vector<std::string>;

class TextBoxTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    Form form{"frm"};
    TextBox* box = nullptr;
    Lines log;

    void SetUp() override {
        form.SetBorderStyle(FormBorderStyle::None);
        form.SetStartUpPosition(0);
        form.Move(0, 0, 300 * 15, 100 * 15);
        box = form.Controls().Add<TextBox>("txt");
        box->SetBounds(RECT{10, 10, 200, 31});
        box->SetVisible(true);
        box->SetText("");
        box->KeyDown.Connect(
            [&](int16_t& k, int16_t&) { log.push_back("KeyDown " + std::to_string(k)); });
        box->KeyPress.Connect([&](int16_t& k) { log.push_back("KeyPress " + std::to_string(k)); });
        box->KeyUp.Connect(
            [&](int16_t& k, int16_t&) { log.push_back("KeyUp " + std::to_string(k)); });
        box->Change.Connect([&] { log.push_back("Change " + box->Text()); });
        form.Show();
        log.clear();
    }
};

TEST_F(TextBoxTest, KeysReachTheProgramBeforeTheBoxAndChangeFollows) {
    desktop.Type("a");
    EXPECT_EQ(log, (Lines{"KeyDown 65", "KeyPress 97", "Change a", "KeyUp 65"}));
}

TEST_F(TextBoxTest, HandlersMayChangeOrEatKeys) {
    box->KeyPress.Connect([](int16_t& k) {
        if (k >= 'a' && k <= 'z') {
            k = static_cast<int16_t>(k - 'a' + 'A');  // upper case
        } else if (k >= '0' && k <= '9') {
            k = 0;  // no digits
        }
    });
    desktop.Type("ab1c");
    EXPECT_EQ(box->Text(), "ABC");
    // A key eaten in KeyDown never reaches the box: Delete does nothing.
    box->KeyDown.Connect([](int16_t& k, int16_t&) {
        if (k == VK_DELETE) {
            k = 0;
        }
    });
    box->SetSelStart(0);
    desktop.Key(VK_DELETE);
    EXPECT_EQ(box->Text(), "ABC");
}

TEST_F(TextBoxTest, PropertiesReachTheEditBox) {
    box->SetMaxLength(3);
    desktop.Type("abcdef");
    EXPECT_EQ(box->Text(), "abc");
    box->SetSelStart(1);
    box->SetSelLength(5);
    EXPECT_EQ(box->SelLength(), 2) << "the selection stops at the end";
    EXPECT_EQ(box->SelText(), "bc");
    box->SetSelText("X");
    EXPECT_EQ(box->Text(), "aX");
    box->SetLocked(true);
    desktop.Type("zz");
    EXPECT_EQ(box->Text(), "aX");
    box->SetLocked(false);
    box->SetPasswordChar("••");
    EXPECT_EQ(box->PasswordChar(), "•");
    EXPECT_EQ(box->Edit()->PasswordChar(), U'•');
    box->SetAlignment(1);
    EXPECT_EQ(box->Edit()->Alignment(), 2) << "the host's right is the edit box's 2";
}

TEST_F(TextBoxTest, ChangingTheStyleKeepsTheText) {
    box->SetText("one");
    box->SetMultiLine(true);
    EXPECT_EQ(box->Text(), "one");
    EXPECT_TRUE(box->WantsKey(VK_RETURN));
    box->SetFocus();
    desktop.Key(VK_END);
    desktop.Key(VK_RETURN);
    EXPECT_EQ(box->Text(), "one\r\n");
    EXPECT_EQ(form.ActiveControl(), box);
}

}  // namespace
}  // namespace kelvara
