// Loaded before the C library: the machine's clock stands where a test wants it.
//
//     LD_PRELOAD       this library
//     SET_CLOCK_NOW    seconds since 1970, UTC
//     SET_CLOCK_UPTIME seconds since the machine's start; the clock can be set, this goes on
//     SET_CLOCK_JUMP   seconds by which the clock is set while there is a file:
//     SET_CLOCK_JUMP_FILE
#include <dlfcn.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>

namespace {

time_t Setting(const char* name) {
    const char* value = std::getenv(name);
    return value ? static_cast<time_t>(std::atoll(value)) : 0;
}

time_t Now() {
    const char* file = std::getenv("SET_CLOCK_JUMP_FILE");
    const bool hasJumped = file && access(file, F_OK) == 0;
    return Setting("SET_CLOCK_NOW") + (hasJumped ? Setting("SET_CLOCK_JUMP") : 0);
}

}  // namespace

extern "C" {

time_t time(time_t* into) noexcept {
    const time_t now = Now();
    if (into) *into = now;
    return now;
}
int gettimeofday(timeval* __restrict into, void* __restrict) noexcept {
    *into = {Now(), 0};
    return 0;
}
// What measures how long something takes goes on as ever.
int clock_gettime(clockid_t clock, timespec* into) noexcept {
    static const auto real = reinterpret_cast<int (*)(clockid_t, timespec*)>(dlsym(RTLD_NEXT, "clock_gettime"));
    if (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)
        *into = {Now(), 0};
    else if (clock == CLOCK_BOOTTIME)
        *into = {Setting("SET_CLOCK_UPTIME"), 0};
    else
        return real(clock, into);
    return 0;
}
}
