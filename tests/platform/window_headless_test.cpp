// The rules of the window's seam that every inside keeps, tried on the one without a screen.

#include "platform/headless/window_headless.h"

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Headless : testing::Test {
    Headless() { plat::headless::reset(); }
    ~Headless() override { plat::headless::reset(); }
    static bool open(plat::WindowHandlers handlers) {
        return plat::openWindow("Test", 10, 20, 880, 516, std::move(handlers));
    }
};

TEST_F(Headless, BeforeTheWindowExistsNothingHappens) {
    int posts = 0, x = 0, y = 0;
    plat::postMessage(1);
    plat::quitLoop(9);
    plat::invalidate({0, 0, 1, 1});
    plat::setTopMost(true);
    plat::setText(7, "text");
    EXPECT_FALSE(plat::windowPosition(x, y));
    plat::WindowHandlers handlers;
    handlers.posted = [&](unsigned message) {
        ++posts;
        plat::quitLoop(static_cast<int>(message));
    };
    ASSERT_TRUE(open(handlers));
    EXPECT_TRUE(plat::headless::takeInvalid().empty());
    EXPECT_FALSE(plat::headless::isTopMost());
    plat::postMessage(3);
    EXPECT_EQ(plat::runLoop(), 3);
    EXPECT_EQ(posts, 1);
    EXPECT_TRUE(plat::windowPosition(x, y));
    EXPECT_EQ(x, 10);
    EXPECT_EQ(y, 20);
}

TEST_F(Headless, AMessagePostedByAHandlerComesAfterTheHandlerHasReturned) {
    std::vector<unsigned> order;
    plat::WindowHandlers handlers;
    handlers.posted = [&](unsigned message) {
        if (message == 1) plat::postMessage(2);
        order.push_back(message);
        if (message == 2) plat::quitLoop(0);
    };
    ASSERT_TRUE(open(handlers));
    plat::postMessage(1);
    plat::runLoop();
    EXPECT_EQ(order, (std::vector<unsigned>{1, 2}));
}

TEST_F(Headless, HandlersRunOnTheLoopsThreadWhoeverAsks) {
    constexpr unsigned threads = 4, each = 500, begun = 98, last = 99;
    std::vector<unsigned> seen(threads);
    unsigned strangers = 0, paints = 0, closings = 0;
    std::thread::id loop;
    plat::WindowHandlers handlers;
    const auto note = [&](unsigned& counter) {
        ++counter;
        if (std::this_thread::get_id() != loop) ++strangers;
    };
    std::promise<void> running;
    handlers.posted = [&](unsigned message) {
        if (message == begun) return running.set_value();
        message == last ? plat::quitLoop(0) : note(seen[message]);
    };
    handlers.paint = [&] { note(paints); };
    handlers.close = [&] { note(closings); };
    ASSERT_TRUE(open(handlers));
    std::thread looper([&] {
        loop = std::this_thread::get_id();
        plat::runLoop();
    });
    std::vector<std::thread> posters;
    for (unsigned t = 0; t < threads; ++t)
        posters.emplace_back([t] {
            for (unsigned i = 0; i < each; ++i) plat::postMessage(t), plat::invalidate({0, 0, 9, 9});
        });
    for (std::thread& t : posters) t.join();
    plat::postMessage(begun);
    running.get_future().wait(); // the next calls find the loop running
    plat::headless::repaint();
    plat::headless::close();
    plat::postMessage(last);
    looper.join();
    EXPECT_EQ(seen[0], each);
    EXPECT_EQ(seen[threads - 1], each);
    EXPECT_EQ(paints, 1u);
    EXPECT_EQ(closings, 1u);
    EXPECT_EQ(strangers, 0u);
}

TEST_F(Headless, KeepsControlsInATableThatAnyThreadReads) {
    std::vector<std::string> log;
    plat::WindowHandlers handlers;
    handlers.create = [] {
        plat::addCheckBox(1, 5, 121, 12, 12, true);
        plat::addPushButton(2, 323, 257, 70, 20, "Unblock");
        plat::addEditBox(3, 111, 119, 1200, 16);
    };
    handlers.command = [&](int id) { log.push_back("command " + std::to_string(id)); };
    handlers.enter = [&](int id) { log.push_back("enter " + plat::getText(id)); };
    ASSERT_TRUE(open(handlers));
    EXPECT_TRUE(plat::isChecked(1) && plat::isEnabled(1));
    EXPECT_FALSE(plat::isEnabled(2) || plat::isEnabled(3));
    plat::headless::click(1);
    plat::headless::click(2); // disabled
    plat::headless::enter(3, "x");
    EXPECT_TRUE(plat::isChecked(1)); // the program toggles it, not the click
    std::thread([] {
        plat::setEnabled(2, true);
        plat::setEnabled(3, true);
        plat::setText(3, "40");
        plat::setChecked(4711, true); // unknown
    }).join();
    EXPECT_EQ(plat::getText(3), "40");
    EXPECT_FALSE(plat::isChecked(4711));
    EXPECT_EQ(plat::getText(4711), "");
    plat::headless::click(2);
    plat::headless::enter(3, "55");
    EXPECT_EQ(log, (std::vector<std::string>{"command 1", "command 2", "enter 55"}));
}

TEST_F(Headless, EqualInvalidBandsAreOne) {
    ASSERT_TRUE(open({}));
    plat::invalidate({0, 0, 880, 28});
    plat::invalidate({0, 28, 880, 112});
    plat::invalidate({0, 0, 880, 28});
    EXPECT_EQ(plat::headless::takeInvalid().size(), 2u);
    EXPECT_TRUE(plat::headless::takeInvalid().empty());
}

} // namespace
