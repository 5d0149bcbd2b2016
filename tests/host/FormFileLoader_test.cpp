#include "kelvara/host/FormFileLoader.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/Intrinsics.h"
#include "kelvara/host/TextBox.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {
namespace {

std::string ReadText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

const std::string kCadastro = std::string(KELVARA_TEST_DATA) + "/forms/Cadastro.frm";

TEST(FormFileLoader, AFormIsDrivenByInputAndSavesBackUnchanged) {
    HeadlessDesktop desktop;
    const std::string text = ReadText(kCadastro);
    auto loaded = LoadFormFile(text);
    ASSERT_TRUE(loaded) << FormFileErrorText(loaded.Error());
    Form& form = *loaded.Value();
    ASSERT_EQ(form.Controls().Count(), 7);
    auto* nome = dynamic_cast<TextBox*>(form.Controls().Item("txtNome"));
    auto* senha = dynamic_cast<TextBox*>(form.Controls().Item("txtSenha"));
    auto* obs = dynamic_cast<TextBox*>(form.Controls().Item("txtObs"));
    ASSERT_TRUE(nome && senha && obs);
    EXPECT_EQ(nome->Text(), "Maria da Silva");
    EXPECT_EQ(obs->Text(), "Cliente desde 2019.\r\nPrefere contato por e-mail.");
    int32_t changes = 0;
    nome->Change.Connect([&] { ++changes; });
    int32_t ticks = 0;
    dynamic_cast<Timer*>(form.Controls().Item("tmrRelogio"))->TimerEvent.Connect([&] { ++ticks; });

    form.Show();
    EXPECT_EQ(form.ActiveControl(), nome);
    // Alt+S: the label's access key takes the focus to the box after it.
    desktop.Key('S', ShiftState::Alt);
    EXPECT_EQ(form.ActiveControl(), senha);
    desktop.Type("abc");
    EXPECT_EQ(senha->Text(), "abc");
    for (int i = 0; i < 3; ++i) {
        desktop.Key(VK_BACK);
    }
    EXPECT_EQ(senha->Text(), "");
    // Shift+Tab back, select all, type over it, then undo.
    desktop.Key(VK_TAB, ShiftState::Shift);
    EXPECT_EQ(form.ActiveControl(), nome);
    desktop.Key('A', ShiftState::Ctrl);
    desktop.Type("Ana");
    EXPECT_EQ(nome->Text(), "Ana");
    EXPECT_EQ(changes, 3);
    desktop.Key('Z', ShiftState::Ctrl);
    EXPECT_EQ(nome->Text(), "Maria da Silva");
    // Return stays in the multi-line box; Tab leaves it.
    obs->SetFocus();
    desktop.Key(VK_END, ShiftState::Ctrl);
    desktop.Key(VK_RETURN);
    EXPECT_EQ(obs->Text(), "Cliente desde 2019.\r\nPrefere contato por e-mail.\r\n");
    // One Backspace takes the whole line break.
    desktop.Key(VK_BACK);
    desktop.Key(VK_TAB);
    EXPECT_EQ(form.ActiveControl(), nome);
    desktop.AdvanceTime(2500);
    EXPECT_EQ(ticks, 2);

    desktop.SaveScreenshot(form.hWnd(), "/tmp/kelvara-cadastro.png");
    EXPECT_EQ(SaveFormFile(form), text);
}

TEST(FormFileLoader, DesignModeLoadsQuietly) {
    HeadlessDesktop desktop;
    auto loaded = LoadFormFile(ReadText(kCadastro), FormMode::Design);
    ASSERT_TRUE(loaded);
    auto* timer = dynamic_cast<Timer*>(loaded.Value()->Controls().Item("tmrRelogio"));
    int32_t ticks = 0;
    timer->TimerEvent.Connect([&] { ++ticks; });
    desktop.AdvanceTime(3000);
    EXPECT_EQ(ticks, 0);
}

TEST(FormFileLoader, FormsThatCannotBeMadeSayWhereAndWhy) {
    HeadlessDesktop desktop;
    const struct {
        const char* text;
        FormFileErrorCode code;
        const char* message;
    } cases[] = {
        {"VERSION 5.00\r\nBegin VB.Form f\r\n   Begin VB.Gadget g\r\n   End\r\nEnd\r\n",
         FormFileErrorCode::UnknownControlType, "line 3: no control of type 'VB.Gadget' is known"},
        {"VERSION 5.00\r\nBegin VB.Form f\r\n   Begin VB.Label a\r\n   End\r\n"
         "   Begin VB.Timer A\r\n   End\r\nEnd\r\n",
         FormFileErrorCode::DuplicateControlName, "line 5: a control named 'A' is there already"},
        {"VERSION 5.00\r\nBegin VB.Form f\r\n   Begin VB.Label a\r\n      Begin VB.Label b\r\n"
         "      End\r\n   End\r\nEnd\r\n",
         FormFileErrorCode::NotAContainer, "line 4: a VB.Label cannot hold controls"},
        {"VERSION 5.00\r\nBegin VB.Label f\r\nEnd\r\n", FormFileErrorCode::UnknownControlType,
         "line 2: a form file holds a VB.Form, not a VB.Label"},
        {"VERSION 5.00\r\nBegin VB.Form f\r\n", FormFileErrorCode::MissingEnd, nullptr},
    };
    for (const auto& c : cases) {
        auto loaded = LoadFormFile(c.text);
        ASSERT_FALSE(loaded) << c.text;
        EXPECT_EQ(loaded.Error().Code, c.code) << c.text;
        if (c.message != nullptr) {
            EXPECT_EQ(FormFileErrorText(loaded.Error()), c.message);
        }
    }
}

}  // namespace
}  // namespace kelvara
