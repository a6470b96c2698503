// A port that another program has. Linux refuses it; Windows lets two listeners share it when both allow reuse.

#include "feed_fixture.h"

#include "platform/sockets.h"

#include <stdexcept>

TEST_F(FeedTest, TellsThatAnotherProgramHasTheControlPort) {
    plat::Socket taken = plat::listenTcp("0", true).socket;
    const std::string port = std::to_string(plat::localPort(taken));
    EXPECT_THAT([&] { lf_openControlPort(port); },
                testing::ThrowsMessage<std::runtime_error>("Bind failed at port " + port +
                                                           " with error 10048 Address already in use"));
    plat::closeSocket(taken);
}
