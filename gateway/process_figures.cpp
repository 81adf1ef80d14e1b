#include "process_figures.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace fgs
{

namespace
{

double entriesOf(const char *folder)
{
    std::error_code none;
    double count = 0;
    for (std::filesystem::directory_iterator entry(folder, none), end; !none && entry != end; entry.increment(none))
        ++count;
    return count;
}

double secondsOf(const timeval &time)
{
    return double(time.tv_sec) + double(time.tv_usec) / 1e6;
}

double processorSeconds()
{
    rusage used = {};
    ::getrusage(RUSAGE_SELF, &used);
    return secondsOf(used.ru_utime) + secondsOf(used.ru_stime);
}

double mostDescriptors()
{
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    return double(limit.rlim_cur);
}

/// The word behind so many others, of what follows the name of the program in /proc/self/stat.
double statusWord(int number)
{
    std::ifstream file("/proc/self/stat");
    std::string line, word;
    std::getline(file, line);
    std::istringstream words(line.substr(std::min(line.rfind(')') + 1, line.size())));
    for (int i = 0; i <= number; ++i)
        words >> word;
    return words ? std::strtod(word.c_str(), nullptr) : 0;
}

double secondsOf(clockid_t clock)
{
    timespec now = {};
    ::clock_gettime(clock, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

/// From the clocks: a service that is shown only the processes of /proc has no /proc/stat.
double bootSeconds()
{
    return secondsOf(CLOCK_REALTIME) - secondsOf(CLOCK_BOOTTIME);
}

double startSeconds()
{
    const int startWord = 19;
    return bootSeconds() + statusWord(startWord) / double(::sysconf(_SC_CLK_TCK));
}

} // namespace

std::vector<ProcessFigure> processFigures()
{
    double virtualPages = 0, residentPages = 0;
    std::ifstream("/proc/self/statm") >> virtualPages >> residentPages;
    const double page = double(::sysconf(_SC_PAGESIZE));
    return {
        {"process_cpu_seconds_total", true, "Processor time of the process.", processorSeconds()},
        {"process_resident_memory_bytes", false, "Memory of the process that is resident.", residentPages * page},
        {"process_virtual_memory_bytes", false, "Memory of the process that is mapped.", virtualPages * page},
        {"process_open_fds", false, "Descriptors that are open.", entriesOf("/proc/self/fd")},
        {"process_max_fds", false, "Descriptors that may be open.", mostDescriptors()},
        {"process_start_time_seconds", false, "Start of the process, since 1970.", startSeconds()},
        {"process_threads", false, "Threads of the process.", entriesOf("/proc/self/task")},
    };
}

} // namespace fgs
