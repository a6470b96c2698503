// A datagram into the traffic reader. The user stands where the fuzzer's lines lie, so that all rules are reached.

#include "app/app.h"
#include "feed/feed.h"

#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    app.rangeNm = 10000.0;
    trafficReader.parkAirport.store({50, 8, 300, true});
    trafficReader.collectCallsigns.set(size % 2 != 0);
    gf_enableTraffic(true);
    trafficReader.takeDatagram({reinterpret_cast<const char*>(data), size});
    std::vector<TrafficRecord> records;
    if (gf_takeFeedRecords(records, 2) > 1 || (records.size() == 1 && records[0].hexid < firstLiveHexid))
        __builtin_trap();
    return 0;
}
