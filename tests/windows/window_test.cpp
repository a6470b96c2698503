// The real window: controls with their styles, what other threads set and read, keys, clicks, colours, painting, and
// the end of the session. The loop runs on the test's thread; a second one acts as the user and as the worker.

#include "platform/clock.h"
#include "platform/text.h"
#include "platform/window.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int checkId = 32790, buttonId = 32838, editId = 32788, secondEditId = 32800;
constexpr plat::Colour blue = 16764057, white = 0xFFFFFF, red = 255;

double msSince(plat::SteadyNs begin) { return static_cast<double>(plat::steadyNow() - begin) / 1e6; }

template <class Test> bool within(double ms, Test test) {
    for (const auto begin = plat::steadyNow(); msSince(begin) < ms; plat::sleepMs(5))
        if (test()) return true;
    return test();
}

class Window : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        static const std::string refused = plat::prepareWindow(); // once in a process
        ASSERT_EQ(refused, "");
    }
    void SetUp() override {
        plat::WindowHandlers handlers;
        handlers.create = [] {
            plat::addCheckBox(checkId, 5, 121, 12, 12, true);
            plat::addEditBox(editId, 111, 119, 1200, 16);
            plat::addPushButton(buttonId, 758, 341, 90, 20, "Re-read");
            plat::addEditBox(secondEditId, 368, 147, 24, 16);
            plat::setTabOrder({checkId, secondEditId, editId, buttonId}); // not as they are made
        };
        handlers.paint = [this] {
            plat::fillRect({0, 0, 880, 112}, 0);
            plat::fillRect({0, 112, 880, 392}, blue);
            plat::fillRect({100, 200, 200, 210}, paintColour);
            plat::drawLine(100, 220, 150, 220, red);
            plat::drawText(300, 200, "Grüße", white);
            ++paints;
        };
        handlers.command = [this](int id) { commands.push_back(id); };
        handlers.enter = [this](int id) {
            entered.push_back({id, plat::getText(id)});
            ++enters;
        };
        handlers.posted = [this](unsigned message) {
            if (posted) posted(message);
        };
        handlers.close = [this] {
            ++closed;
            if (closing) closing();
        };
        ASSERT_TRUE(plat::openWindow("Velloray", 20, 30, 880, 516, handlers));
        window = FindWindowW(L"Velloray", L"Velloray");
        ASSERT_NE(window, nullptr);
        ASSERT_EQ(GetWindowThreadProcessId(window, nullptr), GetCurrentThreadId());
    }
    void TearDown() override {
        closing = nullptr;
        DestroyWindow(window); // as another program might do it: it closes, and the loop ends
        EXPECT_EQ(plat::runLoop(), 0);
    }
    int loopWith(const std::function<void()>& act) {
        std::thread other([&] {
            act();
            plat::quitLoop(3);
        });
        const int code = plat::runLoop();
        other.join();
        return code;
    }
    HWND control(int id) const { return GetDlgItem(window, id); }
    static std::wstring shownText(HWND box) {
        std::array<wchar_t, 100> text{};
        GetWindowTextW(box, text.data(), static_cast<int>(text.size()));
        return text.data();
    }
    static void type(HWND box, const std::wstring& keys) {
        for (const wchar_t c : keys) PostMessageW(box, WM_CHAR, c, 0);
    }
    COLORREF pixel(int x, int y) const {
        const HDC dc = GetDC(window);
        const COLORREF colour = GetPixel(dc, x, y);
        ReleaseDC(window, dc);
        return colour;
    }

    HWND window = nullptr;
    std::atomic<int> paints{0}, closed{0}, enters{0};
    std::atomic<plat::Colour> paintColour{red};
    std::vector<int> commands;
    struct Entered {
        int id;
        std::string text;
    };
    std::vector<Entered> entered;
    std::function<void(unsigned)> posted;
    std::function<void()> closing;
};

TEST_F(Window, HasTheSizePlaceAndStyleAskedForAndItsControlsInOrder) {
    RECT frame;
    GetWindowRect(window, &frame);
    EXPECT_EQ(frame.right - frame.left, 880);
    EXPECT_EQ(frame.bottom - frame.top, 516);
    int x = 0, y = 0;
    EXPECT_TRUE(plat::windowPosition(x, y));
    EXPECT_EQ(x, frame.left);
    EXPECT_EQ(y, frame.top);
    const auto style = static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE));
    EXPECT_EQ(style & 0xFF0000u, 0xC80000u); // caption and system menu, and nothing to size it with
    EXPECT_NE(GetClassLongPtrW(window, GCLP_HICON), 0u);

    struct Row {
        int id;
        const wchar_t* kind;
        DWORD style;
        int x, y, w, h;
        bool enabled;
    } const rows[] = {{checkId, L"Button", 0x50000002, 5, 121, 12, 12, true},
                      {editId, L"Edit", 0x50800000, 111, 119, 1200, 16, false},
                      {buttonId, L"Button", 0x50000001, 758, 341, 90, 20, false},
                      {secondEditId, L"Edit", 0x50800000, 368, 147, 24, 16, false}};
    HWND child = GetWindow(window, GW_CHILD);
    for (const Row& row : rows) {
        ASSERT_EQ(GetDlgCtrlID(child), row.id);
        std::array<wchar_t, 20> kind{};
        GetClassNameW(child, kind.data(), static_cast<int>(kind.size()));
        EXPECT_STREQ(kind.data(), row.kind);
        // An edit box takes the border over, which the test of the pixels sees.
        constexpr DWORD asMade = ~static_cast<DWORD>(WS_DISABLED | WS_BORDER);
        EXPECT_EQ(static_cast<DWORD>(GetWindowLongPtrW(child, GWL_STYLE)) & asMade, row.style & asMade)
            << row.id;
        RECT place;
        GetWindowRect(child, &place);
        MapWindowPoints(HWND_DESKTOP, window, reinterpret_cast<POINT*>(&place), 2);
        EXPECT_EQ(place.left, row.x);
        EXPECT_EQ(place.top, row.y);
        EXPECT_EQ(place.right - place.left, row.w);
        EXPECT_EQ(place.bottom - place.top, row.h);
        EXPECT_EQ(IsWindowEnabled(child) != 0, row.enabled) << row.id;
        EXPECT_EQ(plat::isEnabled(row.id), row.enabled);
        child = GetWindow(child, GW_HWNDNEXT);
    }
    EXPECT_EQ(IsDlgButtonChecked(window, checkId), UINT{BST_CHECKED});
    EXPECT_EQ(shownText(control(buttonId)), L"Re-read");
}

TEST_F(Window, NothingThatAnotherThreadAsksWaitsForABusyLoop) {
    std::atomic<bool> busy{false}, done{false};
    posted = [&](unsigned) {
        busy = true;
        within(20000, [&] { return done.load(); });
        busy = false;
    };
    EXPECT_EQ(3, loopWith([&] {
                  plat::postMessage(32769);
                  ASSERT_TRUE(within(5000, [&] { return busy.load(); }));
                  plat::setText(editId, "first");
                  plat::setText(editId, "C:\\Grüße");
                  plat::setEnabled(editId, true);
                  plat::setChecked(checkId, false);
                  plat::setTopMost(true);
                  plat::invalidate({0, 112, 880, 392});
                  plat::postMessage(40000);
                  EXPECT_EQ(plat::getText(editId), "C:\\Grüße");
                  EXPECT_TRUE(plat::isEnabled(editId));
                  EXPECT_FALSE(plat::isChecked(checkId));
                  plat::setText(1, "unknown");
                  EXPECT_TRUE(busy); // all of it was done while the loop stood
                  done = true;
                  EXPECT_TRUE(within(5000, [&] { return IsWindowEnabled(control(editId)) != 0; }));
              }));
    EXPECT_EQ(shownText(control(editId)), L"C:\\Grüße");
    EXPECT_EQ(IsDlgButtonChecked(window, checkId), UINT{BST_UNCHECKED});
    EXPECT_NE(GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_TOPMOST, 0);
}

TEST_F(Window, EnterHandsOverWhatWasTypedAndEscapeBringsBackWhatWasShown) {
    plat::setEnabled(editId, true);
    plat::setText(editId, "Größe");
    EXPECT_EQ(3, loopWith([&] {
                  ASSERT_TRUE(within(5000, [&] { return IsWindowEnabled(control(editId)) != 0; }));
                  type(control(editId), L" else");
                  EXPECT_TRUE(within(5000, [&] { return plat::getText(editId).ends_with(" elseGröße"); }));
                  type(control(editId), L"\x1B");
                  EXPECT_TRUE(within(5000, [&] { return shownText(control(editId)) == L"Größe"; }));
                  EXPECT_EQ(plat::getText(editId), "Größe");
                  SendMessageW(control(editId), EM_SETSEL, 5, 5);
                  type(control(editId), L" 7\r");
                  EXPECT_TRUE(within(5000, [&] { return enters == 1; }));
                  plat::setText(editId, "");
                  type(control(editId), L"x\r");
                  EXPECT_TRUE(within(5000, [&] { return enters == 2; }));
              }));
    ASSERT_EQ(entered.size(), 2u);
    EXPECT_EQ(entered[0].id, editId);
    EXPECT_EQ(entered[0].text, "Größe 7");
    EXPECT_EQ(entered[1].text, "x");
    EXPECT_EQ(shownText(control(editId)), L"x");
    EXPECT_EQ(closed, 0);
}

TEST_F(Window, ATextThatIsNoneInUtf8ChangesNothing) {
    plat::setText(editId, "kept");
    EXPECT_THROW(plat::setText(editId, "\xFF"), win32::Utf8ConversionException);
    EXPECT_EQ(3, loopWith([] { plat::sleepMs(50); }));
    EXPECT_EQ(plat::getText(editId), "kept");
    EXPECT_EQ(shownText(control(editId)), L"kept");
    SetWindowTextW(control(editId), L"\xD800"); // half a character, as only pasting makes it
    EXPECT_THROW(plat::getText(editId), win32::Utf8ConversionException);
}

TEST_F(Window, AClickIsToldAndTheBoxLeftToTheProgram) {
    EXPECT_EQ(3, loopWith([&] {
                  SendMessageW(control(checkId), BM_CLICK, 0, 0);
                  plat::setEnabled(buttonId, true);
                  ASSERT_TRUE(within(5000, [&] { return IsWindowEnabled(control(buttonId)) != 0; }));
                  SendMessageW(control(buttonId), BM_CLICK, 0, 0);
              }));
    EXPECT_EQ(commands, (std::vector<int>{checkId, buttonId}));
    EXPECT_EQ(IsDlgButtonChecked(window, checkId), UINT{BST_CHECKED});
    EXPECT_TRUE(plat::isChecked(checkId));
}

TEST_F(Window, TabGoesRoundTheEnabledControls) {
    plat::setEnabled(secondEditId, true);
    std::vector<HWND> focused;
    posted = [&](unsigned) { focused.push_back(GetFocus()); };
    SetForegroundWindow(window);
    SetFocus(window);
    EXPECT_EQ(3, loopWith([&] {
                  for (int i = 0; i < 3; ++i) {
                      PostMessageW(window, WM_KEYDOWN, VK_TAB, 0);
                      plat::postMessage(40000);
                  }
              }));
    EXPECT_EQ(focused, (std::vector<HWND>{control(checkId), control(secondEditId), control(checkId)}));
}

TEST_F(Window, AnEditBoxThatGetsTheFocusHasItsTextSelectedAndADisabledOneGivesItUp) {
    plat::setEnabled(editId, true);
    plat::setEnabled(secondEditId, true);
    plat::setText(editId, "40");
    std::vector<DWORD> selected; // begin and end
    posted = [&](unsigned) {
        DWORD begin = 9, end = 9;
        SendMessageW(control(editId), EM_GETSEL, reinterpret_cast<WPARAM>(&begin),
                     reinterpret_cast<LPARAM>(&end));
        selected.insert(selected.end(), {begin, end});
    };
    SetForegroundWindow(window);
    SetFocus(window);
    const auto click = [&] {
        PostMessageW(control(editId), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(1, 8));
        PostMessageW(control(editId), WM_LBUTTONUP, 0, MAKELPARAM(1, 8));
        plat::postMessage(40000);
    };
    std::vector<HWND> focused;
    EXPECT_EQ(3, loopWith([&] {
                  click();
                  click(); // it has the focus: this sets the caret
                  EXPECT_TRUE(within(5000, [&] { return selected.size() == 4; }));
                  posted = [&](unsigned) { focused.push_back(GetFocus()); };
                  plat::setEnabled(editId, false);
                  plat::postMessage(40000);
                  PostMessageW(window, WM_KEYDOWN, VK_TAB, 0); // the button behind it is disabled
                  plat::postMessage(40000);
              }));
    EXPECT_EQ(selected, (std::vector<DWORD>{0, 2, 0, 0}));
    EXPECT_EQ(focused, (std::vector<HWND>{window, control(checkId)}));
}

TEST_F(Window, PaintsTheBandAskedForAndTheControlsInTheBandsBlue) {
    plat::setEnabled(editId, true);
    EXPECT_EQ(3, loopWith([&] {
                  ASSERT_TRUE(within(5000, [&] { return paints > 0 && pixel(120, 205) == red; }));
                  plat::sleepMs(200);
              }));
    EXPECT_EQ(pixel(50, 250), blue);
    EXPECT_EQ(pixel(100, 220), red);
    EXPECT_EQ(pixel(149, 220), red);
    EXPECT_EQ(pixel(150, 220), blue); // the end point is not drawn
    EXPECT_EQ(pixel(50, 450), 0u);    // what no one paints is black
    EXPECT_EQ(pixel(600, 127), blue); // inside the edit box
    EXPECT_NE(pixel(111, 127), blue); // its border
    int lit = 0;
    for (int x = 300; x < 345; ++x)
        for (int y = 200; y < 216; ++y) lit += pixel(x, y) == white;
    EXPECT_GT(lit, 50); // the text

    const int before = paints;
    paintColour = 0x00FF00;
    EXPECT_EQ(3, loopWith([&] {
                  plat::invalidate({0, 112, 150, 392});
                  EXPECT_TRUE(within(5000, [&] { return paints > before; }));
                  plat::sleepMs(100);
              }));
    EXPECT_EQ(paints, before + 1);
    EXPECT_EQ(pixel(120, 205), 0x00FF00u);
    EXPECT_EQ(pixel(180, 205), red); // outside the band that was asked for
}

TEST_F(Window, TheEndOfTheSessionWaitsForTheClosing) {
    std::atomic<bool> saved{false};
    std::thread worker;
    closing = [&] {
        if (worker.joinable()) return;
        worker = std::thread([&] {
            plat::sleepMs(300);
            saved = true;
            plat::postMessage(32770);
        });
    };
    posted = [&](unsigned message) {
        if (message == 32770) plat::quitLoop(7);
    };
    std::thread system([&] {
        EXPECT_EQ(SendMessageW(window, WM_QUERYENDSESSION, 0, 0), 1);
        EXPECT_EQ(SendMessageW(window, WM_ENDSESSION, FALSE, 0), 0); // someone else has refused
        EXPECT_EQ(closed, 0);
        EXPECT_EQ(SendMessageW(window, WM_ENDSESSION, TRUE, 0), 0);
        EXPECT_TRUE(saved);
    });
    EXPECT_EQ(plat::runLoop(), 7);
    system.join();
    worker.join();
    EXPECT_EQ(closed, 1);
}

TEST_F(Window, TheCloseBoxAsksTheProgram) {
    EXPECT_EQ(3, loopWith([&] {
                  SendMessageW(window, WM_CLOSE, 0, 0);
                  EXPECT_EQ(closed, 1);
                  EXPECT_TRUE(IsWindow(window));
              }));
}

} // namespace
