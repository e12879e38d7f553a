// startup_load LIBRARY: loads the library and does nothing with it. Prints the nanoseconds that it
// took, the bytes of all files that came into the process with it, and the bytes of memory that the
// process holds: in all, and for itself alone. Stands on the C library alone, so that whatever else
// there is has come with LIBRARY.
#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

long long _now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1000000000LL + time.tv_nsec;
}

long long _size(const char* file) {
    struct stat found = {};
    return stat(file, &found) == 0 ? static_cast<long long>(found.st_size) : 0;
}

long long _sizeOfAllFiles() {
    long long sum = 0;
    dl_iterate_phdr(
        [](dl_phdr_info* object, std::size_t, void* total) {
            *static_cast<long long*>(total) += _size(object->dlpi_name);
            return 0;
        },
        &sum);
    return sum;
}

// Bytes by lines of /proc/self/smaps_rollup that begin like this.
long long _held(const char* line) {
    long long bytes = 0;
    std::FILE* const file = std::fopen("/proc/self/smaps_rollup", "r");
    if (file == nullptr) return 0;
    char text[256];
    while (std::fgets(text, sizeof text, file) != nullptr) {
        long long kilobytes = 0;
        if (std::strncmp(text, line, std::strlen(line)) == 0 &&
            std::sscanf(text, "%*[^0-9]%lld", &kilobytes) == 1) {
            bytes += kilobytes * 1024;
        }
    }
    std::fclose(file);
    return bytes;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s LIBRARY\n", argv[0]);
        return 2;
    }
    const long long before = _sizeOfAllFiles();
    const long long begin = _now();
    if (dlopen(argv[1], RTLD_NOW) == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    const long long time = _now() - begin;
    std::printf("%lld %lld %lld %lld\n", time, _sizeOfAllFiles() - before, _held("Rss:"),
                _held("Private_"));
    return 0;
}
