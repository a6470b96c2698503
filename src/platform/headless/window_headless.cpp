// A window without a screen: a table of controls, and a list of what a repaint has drawn. A test acts on it from any
// thread; the handlers run on the thread of the message loop while one runs, else on the caller's.

#include "platform/headless/window_headless.h"

#include "platform/lock.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace plat {

namespace {

struct State {
    bool open = false, done = false, looping = false, topMost = false;
    int exitCode = 0, x = 0, y = 0;
    std::thread::id loopThread;
    WindowHandlers handlers;
    std::map<int, headless::Control> controls;
    std::vector<headless::Drawn> drawn;
    std::vector<Rect> invalid;
    std::vector<int> tabOrder;
    std::deque<std::function<void()>> jobs; // of the loop, in order
};
std::mutex stateLock; // held for table work alone, never while a handler runs
std::condition_variable changed;
State state;

template <class Work> auto locked(Work work) {
    const std::lock_guard held(stateLock);
    return work();
}

WindowHandlers handlersNow() {
    return locked([] { return state.handlers; });
}

template <class Work> void withControl(int id, Work work) {
    const std::lock_guard held(stateLock);
    if (const auto found = state.controls.find(id); found != state.controls.end()) work(found->second);
}

// On the loop's thread, and back only when it is done; at once when no loop runs or this is its thread.
void runOnLoop(const std::function<void()>& work) {
    bool finished = false;
    {
        std::unique_lock held(stateLock);
        if (state.looping && state.loopThread != std::this_thread::get_id()) {
            state.jobs.push_back([&] {
                work();
                locked([&] { finished = true; });
                changed.notify_all();
            });
            changed.notify_all();
            changed.wait(held, [&] { return finished || !state.looping; });
            return;
        }
    }
    work();
}

bool sameRect(const Rect& a, const Rect& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

void addControl(int id, headless::Control control) {
    locked([&] { state.controls[id] = std::move(control); });
}

} // namespace

// ---- the window and its loop -----------------------------------------------------------------------------------

const char* prepareWindow() { return ""; }

void tellFailure(const char* title, std::string_view utf8) {
    std::fprintf(stderr, "%s: %.*s\n", title, static_cast<int>(utf8.size()), utf8.data());
}

bool openWindow(const char*, int x, int y, int, int, WindowHandlers handlers) {
    const auto create = handlers.create;
    {
        const std::lock_guard held(stateLock);
        state = State{};
        state.open = true;
        state.x = x;
        state.y = y;
        state.handlers = std::move(handlers);
    }
    if (create) create();
    return true;
}

int runLoop() {
    std::unique_lock held(stateLock);
    state.looping = true;
    state.loopThread = std::this_thread::get_id();
    while (!state.done) {
        changed.wait(held, [] { return state.done || !state.jobs.empty(); });
        if (state.jobs.empty()) continue;
        const auto job = std::move(state.jobs.front());
        state.jobs.pop_front();
        held.unlock();
        job();
        held.lock();
    }
    state.looping = false;
    state.jobs.clear();
    changed.notify_all();
    return state.exitCode;
}

bool windowPosition(int& x, int& y) {
    const std::lock_guard held(stateLock);
    if (state.open) x = state.x, y = state.y;
    return state.open;
}

void postMessage(unsigned message) {
    const std::lock_guard held(stateLock);
    if (!state.open) return;
    state.jobs.push_back([message] {
        if (const auto posted = handlersNow().posted) posted(message);
    });
    changed.notify_all();
}

void quitLoop(int code) {
    const std::lock_guard held(stateLock);
    if (!state.open) return;
    state.exitCode = code;
    state.done = true;
    changed.notify_all();
}

void invalidate(Rect band) {
    const std::lock_guard held(stateLock);
    const auto same = [&](const Rect& r) { return sameRect(r, band); };
    if (state.open && std::none_of(state.invalid.begin(), state.invalid.end(), same))
        state.invalid.push_back(band);
}

void setTopMost(bool on) {
    locked([&] { state.topMost = state.open && on; });
}

// ---- controls --------------------------------------------------------------------------------------------------

void addCheckBox(int id, int x, int y, int w, int h, bool checked) {
    addControl(id, {'c', {x, y, x + w, y + h}, true, checked, "", ""});
}
void addPushButton(int id, int x, int y, int w, int h, const char* text) {
    addControl(id, {'b', {x, y, x + w, y + h}, false, false, text, text});
}
void addEditBox(int id, int x, int y, int w, int h) {
    addControl(id, {'e', {x, y, x + w, y + h}, false, false, "", ""});
}

void setTabOrder(const std::vector<int>& ids) {
    locked([&] { state.tabOrder = ids; });
}

void setEnabled(int id, bool on) {
    withControl(id, [&](headless::Control& c) { c.enabled = on; });
}
bool isEnabled(int id) {
    bool result = false;
    withControl(id, [&](const headless::Control& c) { result = c.enabled; });
    return result;
}
void setChecked(int id, bool on) {
    withControl(id, [&](headless::Control& c) { c.checked = on; });
}
bool isChecked(int id) {
    bool result = false;
    withControl(id, [&](const headless::Control& c) { result = c.checked; });
    return result;
}
void setText(int id, std::string_view utf8) {
    withControl(id, [&](headless::Control& c) { c.text = c.shown = utf8; });
}
std::string getText(int id) {
    std::string result;
    withControl(id, [&](const headless::Control& c) { result = c.text; });
    return result;
}

// ---- drawing ---------------------------------------------------------------------------------------------------

void fillRect(Rect r, Colour c) {
    locked([&] { state.drawn.push_back({'f', r, c, ""}); });
}
void drawLine(int x1, int y1, int x2, int y2, Colour c) {
    locked([&] { state.drawn.push_back({'l', {x1, y1, x2, y2}, c, ""}); });
}
void drawText(int x, int y, std::string_view utf8, Colour c) {
    locked([&] { state.drawn.push_back({'t', {x, y, x, y}, c, std::string(utf8)}); });
}

// ---- what a test may do ----------------------------------------------------------------------------------------

namespace headless {

std::vector<Drawn> repaint() {
    locked([] {
        state.drawn.clear();
        state.invalid.clear();
    });
    runOnLoop([] {
        if (const auto paint = handlersNow().paint) paint();
    });
    return locked([] { return state.drawn; });
}

std::vector<Rect> takeInvalid() {
    return locked([] { return std::exchange(state.invalid, {}); });
}

void click(int id) {
    if (!isEnabled(id)) return;
    runOnLoop([id] {
        if (const auto command = handlersNow().command) command(id);
    });
}

void type(int id, std::string_view text) {
    withControl(id, [&](Control& c) {
        if (c.enabled && c.kind == 'e') c.text = text;
    });
}

void escape(int id) {
    withControl(id, [](Control& c) { c.text = c.shown; });
}

void enter(int id, std::string_view text) {
    if (!isEnabled(id)) return;
    type(id, text);
    runOnLoop([id] {
        if (const auto handler = handlersNow().enter) handler(id);
    });
}

void close() {
    runOnLoop([] {
        if (const auto handler = handlersNow().close) handler();
    });
}

void setPosition(int x, int y) {
    locked([&] { state.x = x, state.y = y; });
}

Control control(int id) {
    const std::lock_guard held(stateLock);
    return state.controls.at(id);
}

std::vector<int> tabOrder() {
    return locked([] { return state.tabOrder; });
}

bool isTopMost() {
    return locked([] { return state.topMost; });
}

void reset() {
    locked([] { state = State{}; });
}

} // namespace headless

} // namespace plat
