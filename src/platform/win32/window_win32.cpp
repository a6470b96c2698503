// The window on Windows, with Win32 and GDI. A call about a window of another thread waits for that thread, so other
// threads change and read a copy of each control under a lock, and the loop's thread brings the controls up to it.
// A paint is made beside the screen and shown in one piece, without the controls' places, so that nothing flickers.

#include "platform/lock.h"
#include "platform/text.h"
#include "platform/window.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace plat {

namespace {

constexpr int iconResource = 100, titleResource = 101;
constexpr Colour controlBackground = 16764057; // the settings band's blue, which the controls stand on
constexpr DWORD windowStyle = 0xC80000;     // caption and close box; no sizing, no minimise or maximise box
constexpr DWORD checkBoxStyle = 0x50000002; // visible child; the program toggles it itself
constexpr DWORD pushButtonStyle = 0x50000001, editBoxStyle = 0x50800000;
constexpr int longestText = 1023;               // units that are read of an edit box
constexpr ULONGLONG closingMs = 10'000;         // how long the end of the session is held up
constexpr UINT messageShow = WM_APP;            // to ourselves: bring the controls up to their copies
constexpr UINT messageQuit = WM_APP - 1;        // to ourselves: end the loop; below what the program posts
constexpr UINT firstRegisteredMessage = 0xC000; // from here on the system's, by name
constexpr WPARAM escapeCharacter = 27, enterCharacter = 13;

WindowHandlers handlers; // loop's thread
std::wstring className;
std::atomic<HWND> window{nullptr};
HDC canvas = nullptr; // inside the paint handler
HWND lastFocus = nullptr;
std::vector<HWND> tabOrder; // loop's thread
bool showing = false;       // the loop's thread is changing a control itself
bool sessionEnding = false; // inside the wait for the closing

std::wstring wide(std::string_view utf8) {
    const std::u16string text = utf16FromUtf8(utf8);
    return {text.begin(), text.end()};
}

// ---- from other threads to the loop ----------------------------------------------------------------------------

struct Mirror { // of a control, as other threads set and read it
    HWND control = nullptr;
    bool enabled = false, checked = false;
    std::wstring text, shown; // what it has; what the program has set last
    bool enabledChanged = false, checkedChanged = false, textChanged = false; // not yet shown
};

Lock mirrorLock;
std::map<int, Mirror> mirrors GUARDED_BY(mirrorLock);
std::optional<bool> wantedTopMost GUARDED_BY(mirrorLock);
bool changed GUARDED_BY(mirrorLock) = false; // something is to be shown
bool asked GUARDED_BY(mirrorLock) = false;   // and the loop has been told

void askToShow() REQUIRES(mirrorLock) {
    changed = true;
    const HWND target = window;
    if (!asked && target) asked = PostMessageW(target, messageShow, 0, 0) != 0;
}

struct Changes {
    std::vector<std::pair<int, Mirror>> controls;
    std::optional<bool> topMost;
};

Changes takeChanges() {
    const LockGuard held(mirrorLock);
    Changes result;
    if (!changed) return result;
    changed = asked = false;
    result.topMost = std::exchange(wantedTopMost, std::nullopt);
    for (auto& [id, mirror] : mirrors) {
        if (!mirror.enabledChanged && !mirror.checkedChanged && !mirror.textChanged) continue;
        result.controls.emplace_back(id, mirror);
        mirror.enabledChanged = mirror.checkedChanged = mirror.textChanged = false;
    }
    return result;
}

// A control that is disabled gives the focus up to the window, and to no other, which a key would then change.
void enable(HWND control, bool on) {
    if (!on && GetFocus() == control) {
        lastFocus = control; // Tab goes on from there
        EnableWindow(control, FALSE);
        SetFocus(window);
        return;
    }
    EnableWindow(control, on);
}

void showChanges() {
    const Changes changes = takeChanges();
    showing = true;
    for (const auto& [id, mirror] : changes.controls) {
        if (mirror.enabledChanged) enable(mirror.control, mirror.enabled);
        if (mirror.checkedChanged) CheckDlgButton(window, id, mirror.checked ? BST_CHECKED : BST_UNCHECKED);
        if (mirror.textChanged) SetWindowTextW(mirror.control, mirror.text.c_str());
    }
    showing = false;
    if (changes.topMost)
        SetWindowPos(window, *changes.topMost ? HWND_TOPMOST : HWND_NOTOPMOST, 0, 0, 0, 0,
                     SWP_NOSIZE | SWP_NOMOVE);
}

// An unknown id is ignored.
template <class Change> void changeControl(int id, Change change) {
    const LockGuard held(mirrorLock);
    const auto found = mirrors.find(id);
    if (found == mirrors.end()) return;
    change(found->second);
    askToShow();
}

Mirror mirrorOf(int id) {
    const LockGuard held(mirrorLock);
    const auto found = mirrors.find(id);
    return found == mirrors.end() ? Mirror{} : found->second;
}

// ---- controls --------------------------------------------------------------------------------------------------

// What the user has typed. A text that is still to be shown replaces it.
void onEdited(int id, HWND control) {
    if (showing) return;
    std::array<wchar_t, longestText + 1> typed;
    const int length = GetWindowTextW(control, typed.data(), static_cast<int>(typed.size()));
    const LockGuard held(mirrorLock);
    const auto found = mirrors.find(id);
    if (found != mirrors.end() && !found->second.textChanged)
        found->second.text.assign(typed.data(), static_cast<std::size_t>(length));
}

void selectAll(HWND box) { SendMessageW(box, EM_SETSEL, 0, -1); }

void showAgain(HWND box) { // the text that the program has set
    std::wstring text;
    {
        const LockGuard held(mirrorLock);
        text = mirrors[GetDlgCtrlID(box)].shown;
    }
    SetWindowTextW(box, text.c_str());
    selectAll(box);
}

LRESULT CALLBACK editProcedure(HWND box, UINT message, WPARAM w, LPARAM l) noexcept {
    if (message == WM_CHAR && w == enterCharacter) {
        if (handlers.enter) handlers.enter(GetDlgCtrlID(box));
        return 0;
    }
    if (message == WM_CHAR && w == escapeCharacter) {
        showAgain(box);
        return 0;
    }
    if (message == WM_LBUTTONDOWN && GetFocus() != box) { // the first click selects, the next sets the caret
        SetFocus(box);
        return 0;
    }
    const auto former = reinterpret_cast<WNDPROC>(GetWindowLongPtrW(box, GWLP_USERDATA));
    const LRESULT result = CallWindowProcW(former, box, message, w, l);
    if (message == WM_SETFOCUS) selectAll(box);
    return result;
}

HWND addControl(int id, const wchar_t* kind, DWORD style, const Rect& place, const wchar_t* text,
                bool enabled) {
    const HWND control = CreateWindowExW(
        0, kind, text, style, place.left, place.top, place.right - place.left, place.bottom - place.top,
        window, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
    if (!control) return nullptr;
    if (!enabled) EnableWindow(control, FALSE);
    const LockGuard held(mirrorLock);
    mirrors[id] = {.control = control, .enabled = enabled, .text = text, .shown = text};
    return control;
}

// ---- keyboard: Tab goes round the enabled controls ------------------------------------------------------------

// The next enabled one; nullptr when there is none but itself.
HWND neighbourOf(HWND control, bool backwards) {
    const std::size_t count = tabOrder.size();
    const auto at =
        static_cast<std::size_t>(std::find(tabOrder.begin(), tabOrder.end(), control) - tabOrder.begin());
    // From outside the list it begins at its first, or last.
    std::size_t place = at < count ? at : backwards ? 0 : count - 1;
    for (std::size_t n = 0; n < count; ++n) {
        place = (place + (backwards ? count - 1 : 1)) % count;
        if (tabOrder[place] != control && IsWindowEnabled(tabOrder[place])) return tabOrder[place];
    }
    return nullptr;
}

bool movesFocus(const MSG& message) {
    if (message.message != WM_KEYDOWN || message.wParam != VK_TAB || GetKeyState(VK_CONTROL) < 0)
        return false;
    const HWND focus = GetFocus();
    const HWND start = focus && IsChild(window, focus) ? focus : lastFocus;
    if (const HWND next = neighbourOf(start, GetKeyState(VK_SHIFT) < 0)) SetFocus(next);
    return true;
}

void dispatch(const MSG& message) {
    showChanges(); // what was set before a key is older than the key
    if (movesFocus(message)) return;
    TranslateMessage(&message);
    DispatchMessageW(&message);
}

// ---- painting --------------------------------------------------------------------------------------------------

void leaveControlsOut(HWND parent, HDC dc) {
    for (HWND child = GetWindow(parent, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        RECT place;
        GetWindowRect(child, &place);
        MapWindowPoints(HWND_DESKTOP, parent, reinterpret_cast<POINT*>(&place), 2);
        ExcludeClipRect(dc, place.left, place.top, place.right, place.bottom);
    }
}

void paintOn(HDC dc, const RECT& area) {
    FillRect(dc, &area, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
    SetBkMode(dc, TRANSPARENT);
    canvas = dc;
    if (handlers.paint) handlers.paint();
    canvas = nullptr;
}

void paint(HWND target) {
    PAINTSTRUCT paint;
    const HDC screen = BeginPaint(target, &paint);
    const RECT area = paint.rcPaint;
    const int width = area.right - area.left, height = area.bottom - area.top;
    leaveControlsOut(target, screen);
    const HDC beside = CreateCompatibleDC(screen);
    const HBITMAP picture = beside ? CreateCompatibleBitmap(screen, width, height) : nullptr;
    if (picture) {
        const HGDIOBJ former = SelectObject(beside, picture);
        SetViewportOrgEx(beside, -area.left, -area.top, nullptr);
        paintOn(beside, area);
        BitBlt(screen, area.left, area.top, width, height, beside, area.left, area.top, SRCCOPY);
        SelectObject(beside, former);
        DeleteObject(picture);
    } else {
        paintOn(screen, area);
    }
    if (beside) DeleteDC(beside);
    EndPaint(target, &paint);
}

LRESULT controlColours(HDC dc) {
    SetBkMode(dc, OPAQUE);
    SetBkColor(dc, controlBackground);
    SetDCBrushColor(dc, controlBackground); // white until told otherwise
    return reinterpret_cast<LRESULT>(GetStockObject(DC_BRUSH));
}

// ---- the window procedure --------------------------------------------------------------------------------------

// The process may be gone as soon as this returns. So the loop goes on in here until the program has closed.
void closeBeforeSessionEnds() {
    if (std::exchange(sessionEnding, true)) return;
    const ULONGLONG end = GetTickCount64() + closingMs;
    if (handlers.close) handlers.close();
    for (ULONGLONG now = GetTickCount64(); now < end; now = GetTickCount64()) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (message.message == WM_QUIT) {
                PostQuitMessage(static_cast<int>(message.wParam)); // for the loop outside
                return;
            }
            dispatch(message);
        }
        MsgWaitForMultipleObjectsEx(0, nullptr, static_cast<DWORD>(end - now), QS_ALLINPUT,
                                    MWMO_INPUTAVAILABLE);
    }
}

void onCommand(int id, int notification, HWND control) {
    if (!control) return;
    if (notification == EN_CHANGE) onEdited(id, control);
    if (notification == BN_CLICKED && handlers.command) handlers.command(id);
}

// An exception must not pass the system's frames, so one that gets here ends the process.
LRESULT CALLBACK windowProcedure(HWND target, UINT message, WPARAM w, LPARAM l) noexcept {
    switch (message) {
    case WM_CREATE:
        window = target;
        if (handlers.create) handlers.create();
        return 0;
    case WM_ERASEBKGND: return 1; // each paint covers all of its area
    case WM_PAINT: paint(target); return 0;
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORSTATIC: return controlColours(reinterpret_cast<HDC>(w));
    case WM_COMMAND: onCommand(LOWORD(w), HIWORD(w), reinterpret_cast<HWND>(l)); return 0;
    case WM_ACTIVATE:
        if (LOWORD(w) == WA_INACTIVE) lastFocus = GetFocus();
        break;
    case WM_SETFOCUS:
        if (lastFocus && IsChild(target, lastFocus) && IsWindowEnabled(lastFocus)) SetFocus(lastFocus);
        return 0;
    case WM_CLOSE:
        if (handlers.close) handlers.close();
        return 0;
    case WM_QUERYENDSESSION: return TRUE; // another program may still refuse
    case WM_ENDSESSION:
        if (w) closeBeforeSessionEnds();
        return 0;
    case WM_DESTROY: // not by us: nobody is left to close it
        window = nullptr;
        if (handlers.close) handlers.close();
        PostQuitMessage(0);
        return 0;
    case messageShow: showChanges(); return 0;
    case messageQuit: PostQuitMessage(static_cast<int>(w)); return 0;
    }
    if (message > messageShow && message < firstRegisteredMessage) {
        if (handlers.posted) handlers.posted(message);
        return 0;
    }
    return DefWindowProcW(target, message, w, l);
}

} // namespace

// ---- the window and its loop -----------------------------------------------------------------------------------

const char* prepareWindow() {
    constexpr int longestTitle = 100;
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    std::array<wchar_t, longestTitle + 1> title{};
    if (LoadStringW(instance, titleResource, title.data(), static_cast<int>(title.size())) == 0)
        return "Failed to load application title";
    className = title.data();
    WNDCLASSEXW description{};
    description.cbSize = sizeof description;
    description.style = CS_HREDRAW | CS_VREDRAW;
    description.lpfnWndProc = windowProcedure;
    description.hInstance = instance;
    description.hIcon = LoadIconW(instance, MAKEINTRESOURCEW(iconResource));
    description.hIconSm = static_cast<HICON>(LoadImageW(instance, MAKEINTRESOURCEW(iconResource), IMAGE_ICON,
                                                        GetSystemMetrics(SM_CXSMICON),
                                                        GetSystemMetrics(SM_CYSMICON), LR_DEFAULTCOLOR));
    description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    description.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
    description.lpszClassName = className.c_str();
    return RegisterClassExW(&description) ? "" : "Failed to register window class";
}

void tellFailure(const char* title, std::string_view text) {
    MessageBoxW(nullptr, wide(text).c_str(), wide(title).c_str(), MB_OK | MB_ICONERROR | MB_SETFOREGROUND);
}

bool openWindow(const char* title, int x, int y, int outerWidth, int outerHeight, WindowHandlers h) {
    handlers = std::move(h);
    sessionEnding = false;
    tabOrder.clear();
    lastFocus = nullptr;
    const HWND made =
        CreateWindowExW(0, className.c_str(), wide(title).c_str(), windowStyle, x, y, outerWidth, outerHeight,
                        nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    if (!made) return false;
    showChanges(); // what the controls were made with
    ShowWindow(made, SW_SHOW);
    return UpdateWindow(made) != 0;
}

int runLoop() {
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) dispatch(message);
    return static_cast<int>(message.wParam);
}

bool windowPosition(int& x, int& y) {
    RECT frame;
    if (!GetWindowRect(window, &frame)) return false;
    x = frame.left;
    y = frame.top;
    return true;
}

void postMessage(unsigned message) {
    if (const HWND target = window) PostMessageW(target, message, 0, 0);
}

void quitLoop(int code) {
    if (const HWND target = window) PostMessageW(target, messageQuit, static_cast<WPARAM>(code), 0);
}

void invalidate(Rect band) {
    const RECT area{band.left, band.top, band.right, band.bottom};
    if (const HWND target = window) // the controls in the band have not changed
        RedrawWindow(target, &area, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_NOCHILDREN);
}

void setTopMost(bool on) {
    const LockGuard held(mirrorLock);
    if (!window) return;
    wantedTopMost = on;
    askToShow();
}

// ---- controls, as the program sees them ------------------------------------------------------------------------

void addCheckBox(int id, int x, int y, int w, int h, bool checked) {
    if (addControl(id, L"button", checkBoxStyle, {x, y, x + w, y + h}, L"", true)) setChecked(id, checked);
}

void addPushButton(int id, int x, int y, int w, int h, const char* text) {
    addControl(id, L"button", pushButtonStyle, {x, y, x + w, y + h}, wide(text).c_str(), false);
}

void addEditBox(int id, int x, int y, int w, int h) {
    const HWND box = addControl(id, L"Edit", editBoxStyle, {x, y, x + w, y + h}, L"", false);
    if (!box) return;
    const LONG_PTR former = SetWindowLongPtrW(box, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(editProcedure));
    SetWindowLongPtrW(box, GWLP_USERDATA, former);
}

void setTabOrder(const std::vector<int>& ids) {
    tabOrder.clear();
    for (const int id : ids)
        if (const HWND control = mirrorOf(id).control) tabOrder.push_back(control);
}

void setEnabled(int id, bool on) {
    changeControl(id, [on](Mirror& m) {
        m.enabled = on;
        m.enabledChanged = true;
    });
}

bool isEnabled(int id) { return mirrorOf(id).enabled; }

void setChecked(int id, bool on) {
    changeControl(id, [on](Mirror& m) {
        m.checked = on;
        m.checkedChanged = true;
    });
}

bool isChecked(int id) { return mirrorOf(id).checked; }

void setText(int id, std::string_view utf8) {
    changeControl(id, [text = wide(utf8)](Mirror& m) {
        m.text = m.shown = text;
        m.textChanged = true;
    });
}

std::string getText(int id) {
    const std::wstring text = mirrorOf(id).text;
    return utf8FromUtf16(std::u16string(text.begin(), text.end()));
}

// ---- drawing ---------------------------------------------------------------------------------------------------

void fillRect(Rect r, Colour c) {
    const RECT area{r.left, r.top, r.right, r.bottom};
    SetDCBrushColor(canvas, c);
    FillRect(canvas, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

void drawLine(int x1, int y1, int x2, int y2, Colour c) {
    const POINT ends[]{{x1, y1}, {x2, y2}};
    SelectObject(canvas, GetStockObject(DC_PEN));
    SetDCPenColor(canvas, c);
    Polyline(canvas, ends, 2);
}

void drawText(int x, int y, std::string_view utf8, Colour c) {
    const std::wstring text = wide(utf8);
    SetTextColor(canvas, c);
    TextOutW(canvas, x, y, text.data(), static_cast<int>(text.size()));
}

} // namespace plat
