// The half hour of the week that a moment counts to. Pure; any thread.

#include "app/app.h"

#include <chrono>

WeekSlot gf_weekSlot(std::int64_t utcSeconds) {
    constexpr std::int64_t earlySeconds = 30; // the slot changes half a minute before the half hour
    constexpr std::int64_t halfHour = 1800;
    const std::chrono::sys_seconds moment{std::chrono::seconds(utcSeconds + earlySeconds)};
    const auto day = std::chrono::floor<std::chrono::days>(moment);
    const std::int64_t second = (moment - day).count();
    return {static_cast<std::int32_t>(std::chrono::weekday(day).iso_encoding()),
            static_cast<std::int32_t>(second / halfHour)};
}
