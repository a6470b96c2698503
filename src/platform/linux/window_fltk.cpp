// The window on Linux, with FLTK on X11. The toolkit belongs to the thread of the message loop: what other threads
// ask for is queued, and what they read of a control is a mirror under a lock. Without a display no window opens;
// a display that goes away later closes the program like its close box.

#include "platform/lock.h"
#include "platform/window.h"

#include <FL/Fl.H>
#include <FL/Fl_Button.H>
#include <FL/Fl_Double_Window.H>
#include <FL/Fl_Input.H>
#include <FL/fl_draw.H>
#include <FL/x.H>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <clocale>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace plat {

namespace {

// The size that openWindow takes includes a frame of 3 pixels and a caption of 23; the layout was made for that.
constexpr int frameWidth = 6, frameHeight = 29;
constexpr int cellAscent = 13; // from the top of a character's cell to its base line, in the layout's font

constexpr Colour controlBackground = 16764057; // the settings band's blue, which the controls stand on
constexpr double placementLookSeconds = 0.2;   // a manager has answered long before
constexpr int longestText = 1023;              // characters that an edit box takes
constexpr uchar enabledFrame = 90, disabledFrame = 160, disabledMark = 130;

WindowHandlers handlers; // loop's thread
Fl_Double_Window* window = nullptr;
Fl_Widget* lastFocus = nullptr; // of the controls; it may be disabled now
std::atomic<bool> isOpen{false}, done{false};
std::atomic<bool> displayLost{false};
std::atomic<int> exitCode{0};

Fl_Color colourOf(Colour c) {
    return fl_rgb_color(static_cast<uchar>(c), static_cast<uchar>(c >> 8), static_cast<uchar>(c >> 16));
}

// ---- from other threads to the loop ----------------------------------------------------------------------------

struct Mirror { // of a control, as other threads set and read it
    bool enabled = false, checked = false;
    bool textWaits = false; // set by the program, and not yet shown
    std::string text;
    std::string shown;           // the text that the program has set last
    Fl_Widget* widget = nullptr; // loop's thread
};

Lock queueLock;
std::condition_variable_any queueFilled; // waited for only when there is no display to wait at
std::deque<std::function<void()>> jobs GUARDED_BY(queueLock);
std::vector<Rect> invalidBands GUARDED_BY(queueLock);
std::map<int, Mirror> mirrors GUARDED_BY(queueLock);

void addJob(std::function<void()> job) REQUIRES(queueLock) {
    const bool first = jobs.empty();
    jobs.push_back(std::move(job));
    if (!first) return; // the loop has been woken already
    queueFilled.notify_all();
    if (!displayLost) Fl::awake(static_cast<void*>(nullptr));
}

void runJobs() { // those that wait now; between them and what they ask for there is a repaint
    std::deque<std::function<void()>> waiting;
    {
        const LockGuard held(queueLock);
        waiting.swap(jobs);
    }
    for (const auto& job : waiting) job();
}

void damageInvalidBands() {
    std::vector<Rect> bands;
    {
        const LockGuard held(queueLock);
        bands.swap(invalidBands);
    }
    for (const Rect& r : bands)
        window->damage(FL_DAMAGE_USER1, r.left, r.top, r.right - r.left, r.bottom - r.top);
}

// ---- controls --------------------------------------------------------------------------------------------------

int idOf(const Fl_Widget* widget) { return static_cast<int>(widget->argument()); }

void onCommand(Fl_Widget* widget, void*) {
    if (handlers.command) handlers.command(idOf(widget));
}

void drawControlFrame(const Fl_Widget& widget) {
    const uchar shade = widget.active_r() ? enabledFrame : disabledFrame;
    fl_color(fl_rgb_color(shade, shade, shade));
    fl_rect(widget.x(), widget.y(), widget.w(), widget.h());
}

struct CheckBox : Fl_Button {
    bool on = false;
    CheckBox(int left, int top, int width, int height) : Fl_Button(left, top, width, height) {}
    void draw() override {
        fl_rectf(x(), y(), w(), h(), active_r() ? FL_WHITE : colourOf(controlBackground));
        drawControlFrame(*this);
        if (on) {
            fl_color(active_r() ? FL_BLACK : fl_rgb_color(disabledMark, disabledMark, disabledMark));
            fl_line_style(FL_SOLID, 2);
            fl_line(x() + 2, y() + 6, x() + 5, y() + 9);
            fl_line(x() + 5, y() + 9, x() + 10, y() + 3);
            fl_line_style(0);
        }
        if (Fl::focus() == this) {
            fl_color(FL_BLACK);
            fl_line_style(FL_DOT);
            fl_rect(x() + 1, y() + 1, w() - 2, h() - 2);
            fl_line_style(0);
        }
    }
};

// The toolkit's own greys the inside of a disabled box and leaves Enter to its owner's shortcuts.
struct EditBox : Fl_Input {
    EditBox(int left, int top, int width, int height) : Fl_Input(left, top, width, height) {}
    void draw() override {
        if (damage() & FL_DAMAGE_ALL) {
            fl_rectf(x(), y(), w(), h(), colourOf(controlBackground));
            drawControlFrame(*this);
        }
        textcolor(active_r() ? FL_BLACK : fl_rgb_color(disabledMark, disabledMark, disabledMark));
        const bool wasActive = active();
        if (!wasActive) set_active();
        drawtext(x() + 1, y() + 1, w() - 2, h() - 2);
        if (!wasActive) clear_active();
    }
    int handle(int event) override {
        if (event == FL_KEYBOARD && (Fl::event_key() == FL_Enter || Fl::event_key() == FL_KP_Enter)) {
            if (handlers.enter) handlers.enter(idOf(this));
            return 1;
        }
        if (event == FL_KEYBOARD && Fl::event_key() == FL_Escape) {
            showAgain();
            return 1;
        }
        if (event == FL_PUSH && Fl::focus() != this) { // the first click selects, the next sets the caret
            take_focus();
            return 1;
        }
        const int taken = Fl_Input::handle(event);
        if (event == FL_FOCUS) selectAll();
        return taken;
    }
    void selectAll() { position(size(), 0); }
    void showAgain() { // the text that the program has set
        {
            const LockGuard held(queueLock);
            Mirror& mirror = mirrors[idOf(this)];
            mirror.text = mirror.shown;
            value(mirror.text.c_str());
        }
        selectAll();
    }
};

void onEdited(Fl_Widget* widget, void*) {
    const LockGuard held(queueLock);
    Mirror& mirror = mirrors[idOf(widget)];
    if (!mirror.textWaits) mirror.text = static_cast<Fl_Input*>(widget)->value(); // else it is about to go
}

void showText(Fl_Widget* widget) {
    auto* const box = dynamic_cast<EditBox*>(widget);
    if (!box) return;
    {
        const LockGuard held(queueLock);
        Mirror& mirror = mirrors[idOf(box)];
        if (!mirror.textWaits) return; // shown already, with one that was set behind it
        mirror.textWaits = false;
        box->value(mirror.text.c_str());
    }
    box->position(0);
}

void addControl(int id, Fl_Widget* widget, bool enabled, bool checked) {
    widget->argument(id);
    if (!enabled) widget->deactivate();
    const LockGuard held(queueLock);
    mirrors[id] = {enabled, checked, false, "", "", widget};
}

// Changes the mirror at once and the control when the loop comes to it. An unknown id is ignored.
template <class Change> void changeControl(int id, Change change, std::function<void(Fl_Widget*)> show) {
    const LockGuard held(queueLock);
    const auto found = mirrors.find(id);
    if (found == mirrors.end()) return;
    change(found->second);
    addJob([widget = found->second.widget, show = std::move(show)] { show(widget); });
}

template <class Read> auto readControl(int id, Read read) {
    const LockGuard held(queueLock);
    const auto found = mirrors.find(id);
    return read(found == mirrors.end() ? Mirror{} : found->second);
}

// ---- the window ------------------------------------------------------------------------------------------------

int fontSize = 0; // pixels; 0: not yet chosen

bool hasFont(const char* family) {
    FcPattern* const wanted = FcNameParse(reinterpret_cast<const FcChar8*>(family));
    FcConfigSubstitute(nullptr, wanted, FcMatchPattern);
    FcDefaultSubstitute(wanted);
    FcResult result = FcResultNoMatch;
    FcPattern* const match = FcFontMatch(nullptr, wanted, &result);
    FcChar8* name = nullptr;
    const bool found = match && FcPatternGetString(match, FC_FAMILY, 0, &name) == FcResultMatch &&
                       std::strcmp(reinterpret_cast<const char*>(name), family) == 0;
    if (match) FcPatternDestroy(match);
    FcPatternDestroy(wanted);
    return found;
}

// The layout was made for a bitmap font of 16 pixels. Wine brings one of the same widths, which is added to this
// process alone; else the first of those in which no label runs into the next.
void chooseFont() {
    constexpr const char* systemFont = "/usr/share/wine/fonts/system.ttf";
    struct Choice {
        const char* family;
        const char* toolkitName; // the blank in front means neither bold nor italic
        int size;
    };
    constexpr std::array choices{
        Choice{"System", " System", 16}, Choice{"Liberation Sans", " Liberation Sans", 14},
        Choice{"Arimo", " Arimo", 14}, Choice{"DejaVu Sans Condensed", " DejaVu Sans Condensed", 13},
        Choice{"", " sans", 12}};
    FcConfigAppFontAddFile(nullptr, reinterpret_cast<const FcChar8*>(systemFont));
    const auto& choice =
        *std::find_if(choices.begin(), choices.end() - 1, [](const Choice& c) { return hasFont(c.family); });
    Fl::set_font(FL_HELVETICA, choice.toolkitName);
    fontSize = choice.size;
}

struct MainWindow : Fl_Double_Window {
    using Fl_Double_Window::Fl_Double_Window;
    void draw() override {
        if (damage() & ~FL_DAMAGE_CHILD) {
            fl_font(FL_HELVETICA, fontSize);
            if (handlers.paint) handlers.paint();
            draw_children();
        } else {
            for (int n = 0; n < children(); ++n) update_child(*child(n));
        }
    }
    int handle(int event) override {
        if (event == FL_SHORTCUT && Fl::event_key() == FL_Escape) return 1; // closes a window otherwise
        if (event == FL_FOCUS) { // back to where it was, and to no other, which a key would then change
            if (lastFocus && lastFocus->active_r()) lastFocus->take_focus();
            return 1;
        }
        if (event == FL_KEYBOARD && Fl::event_key() == FL_Tab && Fl::focus() == this) {
            focusNeighbour(Fl::event_state(FL_SHIFT) != 0);
            return 1;
        }
        return Fl_Double_Window::handle(event);
    }

  private:
    void focusNeighbour(bool backwards) { // of the last one, from which Tab goes on
        const int count = children(), step = backwards ? count - 1 : 1;
        int place = lastFocus ? find(lastFocus) : backwards ? 0 : count - 1;
        for (int n = 0; n < count; ++n) {
            place = (place + step) % count;
            if (child(place)->take_focus()) return;
        }
    }
};

void noteFocus() {
    Fl_Widget* const focus = Fl::focus();
    if (focus && focus != window) lastFocus = focus;
}

void onClose(Fl_Widget*, void*) {
    if (handlers.close) handlers.close();
}

// The display is opened here: the toolkit would end the process when there is none, or when it goes away.
bool openDisplay() {
    if (fl_display) return true;
    Display* const opened = XOpenDisplay(nullptr);
    if (!opened) return false;
    fl_open_display(opened);
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    XSetIOErrorHandler([](Display*) { return 0; });
    XSetIOErrorExitHandler(
        opened, [](Display*, void*) { displayLost = true; }, nullptr);
    return true;
}

// How far the client area lies inside the frame that the window manager has put around it.
void frameExtents(int& left, int& top) {
    left = top = 0;
    const Atom property = XInternAtom(fl_display, "_NET_FRAME_EXTENTS", False);
    Atom type = None;
    int format = 0;
    unsigned long count = 0, rest = 0;
    unsigned char* data = nullptr;
    constexpr long wanted = 4; // left, right, top, bottom
    if (XGetWindowProperty(fl_display, fl_xid(window), property, 0, wanted, False, XA_CARDINAL, &type,
                           &format, &count, &rest, &data) == Success &&
        data && format == 32 && count == wanted) {
        const long* const values = reinterpret_cast<const long*>(data);
        left = static_cast<int>(values[0]);
        top = static_cast<int>(values[2]);
    }
    if (data) XFree(data);
}

// A request to the window manager about this window.
void askManager(const char* request, std::array<long, 5> values) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = fl_xid(window);
    event.xclient.message_type = XInternAtom(fl_display, request, False);
    event.xclient.format = 32;
    std::copy(values.begin(), values.end(), event.xclient.data.l);
    XSendEvent(fl_display, RootWindow(fl_display, fl_screen), False,
               SubstructureRedirectMask | SubstructureNotifyMask, &event);
    XFlush(fl_display);
}

bool framePosition(int& x, int& y) {
    int clientX = 0, clientY = 0, left = 0, top = 0;
    ::Window child = None;
    if (!XTranslateCoordinates(fl_display, fl_xid(window), RootWindow(fl_display, fl_screen), 0, 0, &clientX,
                               &clientY, &child))
        return false;
    frameExtents(left, top);
    x = clientX - left;
    y = clientY - top;
    return !displayLost;
}

// The toolkit keeps a window on the screen, and places its client area. This one is to stay where it was asked for, by
// the corner of its frame: with no manager the move does it, with an old one the hint, else the request. That is made
// twice, since a manager may take a move to where the client area lies already for none at all.
struct Placement {
    int x = 0, y = 0;
    int looks = 3; // how often it is asked again when the manager was not yet ready, or will not
} placement;

void placeFrame() {
    const auto [x, y, looks] = placement;
    XSizeHints hints{};
    long supplied = 0;
    XGetWMNormalHints(fl_display, fl_xid(window), &hints, &supplied);
    hints.flags |= USPosition | PWinGravity;
    hints.win_gravity = NorthWestGravity;
    XSetWMNormalHints(fl_display, fl_xid(window), &hints);
    XMoveWindow(fl_display, fl_xid(window), x, y);
    constexpr long hasX = 1 << 8, hasY = 1 << 9, fromProgram = 1 << 12;
    for (const int beside : {1, 0})
        askManager("_NET_MOVERESIZE_WINDOW",
                   {NorthWestGravity | hasX | hasY | fromProgram, x + beside, y, 0, 0});
}

void lookAtPlace(void*) {
    int x = 0, y = 0;
    if (displayLost || !framePosition(x, y) || (x == placement.x && y == placement.y)) return;
    placeFrame();
    if (--placement.looks > 0) Fl::repeat_timeout(placementLookSeconds, lookAtPlace);
}

void sendTopMost(bool on) {
    if (displayLost) return;
    const Atom above = XInternAtom(fl_display, "_NET_WM_STATE_ABOVE", False);
    constexpr long remove = 0, add = 1, fromProgram = 1;
    askManager("_NET_WM_STATE", {on ? add : remove, static_cast<long>(above), 0, fromProgram, 0});
}

} // namespace

const char* prepareWindow() { return ""; }

void tellFailure(const char* title, std::string_view utf8) {
    std::fprintf(stderr, "%s: %.*s\n", title, static_cast<int>(utf8.size()), utf8.data());
}

bool openWindow(const char* title, int x, int y, int outerWidth, int outerHeight, WindowHandlers h) {
    if (!openDisplay()) return false;
    handlers = std::move(h);
    Fl::lock(); // makes Fl::awake work; no other thread ever takes it
    Fl::scheme("none");
    chooseFont();
    window = new MainWindow(x, y, outerWidth - frameWidth, outerHeight - frameHeight);
    window->copy_label(title);
    window->xclass(title);
    window->color(FL_BLACK);
    window->callback(onClose);
    isOpen = true;
    if (handlers.create) handlers.create();
    window->end();
    window->resizable(nullptr);
    window->show();
    placement = {x, y};
    placeFrame();
    Fl::add_timeout(placementLookSeconds, lookAtPlace);
    // The toolkit takes up the user's locale; numbers keep their point.
    std::setlocale(LC_NUMERIC, "C");
    return true;
}

int runLoop() {
    while (!done && !displayLost) {
        runJobs();
        if (done || displayLost) break;
        damageInvalidBands();
        Fl::wait(1e9);
        noteFocus();
    }
    if (displayLost && !done && handlers.close) handlers.close();
    while (!done) { // what is left to do is told by other threads alone
        {
            const LockGuard held(queueLock);
            while (jobs.empty() && !done) queueFilled.wait(queueLock);
        }
        runJobs();
    }
    return exitCode;
}

bool windowPosition(int& x, int& y) { return isOpen && !displayLost && framePosition(x, y); }

void postMessage(unsigned message) {
    const LockGuard held(queueLock);
    if (!isOpen) return;
    addJob([message] {
        if (handlers.posted) handlers.posted(message);
    });
}

void quitLoop(int code) {
    const LockGuard held(queueLock);
    if (!isOpen) return;
    exitCode = code;
    addJob([] { done = true; });
}

void invalidate(Rect band) {
    const LockGuard held(queueLock);
    const auto same = [&](const Rect& r) {
        return r.left == band.left && r.top == band.top && r.right == band.right && r.bottom == band.bottom;
    };
    if (!isOpen || std::any_of(invalidBands.begin(), invalidBands.end(), same)) return;
    invalidBands.push_back(band);
    addJob([] {}); // wakes the loop
}

void setTopMost(bool on) {
    const LockGuard held(queueLock);
    if (isOpen) addJob([on] { sendTopMost(on); });
}

// ---- controls, as the program sees them ------------------------------------------------------------------------

void addCheckBox(int id, int x, int y, int w, int h, bool checked) {
    auto* const box = new CheckBox(x, y, w, h);
    box->on = checked;
    box->callback(onCommand);
    addControl(id, box, true, checked);
}

void addPushButton(int id, int x, int y, int w, int h, const char* text) {
    auto* const button = new Fl_Button(x, y, w, h);
    button->copy_label(text);
    button->labelfont(FL_HELVETICA);
    button->labelsize(fontSize);
    button->callback(onCommand);
    addControl(id, button, false, false);
}

void addEditBox(int id, int x, int y, int w, int h) {
    auto* const box = new EditBox(x, y, w, h);
    box->box(FL_BORDER_BOX);
    box->color(colourOf(controlBackground));
    box->textfont(FL_HELVETICA);
    box->textsize(fontSize);
    box->when(FL_WHEN_CHANGED);
    box->maximum_size(longestText);
    box->callback(onEdited);
    addControl(id, box, false, false);
}

void setTabOrder(const std::vector<int>& ids) { // the toolkit goes by the order of the children
    const LockGuard held(queueLock);
    for (const int id : ids)
        if (const auto found = mirrors.find(id); found != mirrors.end()) window->add(found->second.widget);
}

void setEnabled(int id, bool on) {
    changeControl(
        id, [on](Mirror& m) { m.enabled = on; },
        [on](Fl_Widget* widget) { on ? widget->activate() : widget->deactivate(); });
}

bool isEnabled(int id) {
    return readControl(id, [](const Mirror& m) { return m.enabled; });
}

void setChecked(int id, bool on) {
    changeControl(
        id, [on](Mirror& m) { m.checked = on; },
        [on](Fl_Widget* widget) {
            if (auto* const box = dynamic_cast<CheckBox*>(widget)) box->on = on;
            widget->redraw();
        });
}

bool isChecked(int id) {
    return readControl(id, [](const Mirror& m) { return m.checked; });
}

void setText(int id, std::string_view utf8) {
    const auto change = [&](Mirror& m) {
        m.text = m.shown = utf8;
        m.textWaits = true;
    };
    changeControl(id, change, showText);
}

std::string getText(int id) {
    return readControl(id, [](const Mirror& m) { return m.text; });
}

// ---- drawing ---------------------------------------------------------------------------------------------------

void fillRect(Rect r, Colour c) { fl_rectf(r.left, r.top, r.right - r.left, r.bottom - r.top, colourOf(c)); }

void drawLine(int x1, int y1, int x2, int y2, Colour c) {
    fl_color(colourOf(c));
    if (y1 == y2)
        fl_xyline(x1, y1, x2 - 1);
    else
        fl_yxline(x1, y1, y2 - 1);
}

void drawText(int x, int y, std::string_view utf8, Colour c) {
    fl_color(colourOf(c));
    fl_draw(utf8.data(), static_cast<int>(utf8.size()), x, y + cellAscent);
}

} // namespace plat
