#include <X11/Xlib.h>
#include <X11/extensions/Xdamage.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/Commands.h"
#include "bench/TemporaryDirectory.h"

namespace bench {

namespace {

using SteadyClock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// A window is settled when nothing was drawn for so long.
constexpr auto kQuiet = 500ms;
constexpr auto kLimit = 20s;

double Milliseconds(SteadyClock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

/// A program that runs while the object lives.
class Child {
  public:
    /// Throws std::runtime_error where it cannot be started.
    explicit Child(std::vector<std::string> command) {
        std::vector<char*> arguments;
        arguments.reserve(command.size() + 1);
        for (auto& word : command) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        if (posix_spawn(&m_process, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
            throw std::runtime_error("cannot start " + command[0]);
        }
    }
    ~Child() {
        kill(m_process, SIGTERM);
        waitpid(m_process, nullptr, 0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    double CpuMilliseconds() const {
        clockid_t clock{};
        timespec time{};
        if (clock_getcpuclockid(m_process, &clock) != 0 || clock_gettime(clock, &time) != 0) {
            throw std::runtime_error("a program ended by itself");
        }
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }

    /// MiB, by the field's name in /proc/PID/smaps_rollup.
    double Memory(const std::string& field) const {
        std::ifstream file("/proc/" + std::to_string(m_process) + "/smaps_rollup");
        for (std::string word; file >> word;) {
            if (double size = 0; word == field + ":" && file >> size) {
                return size / 1024;
            }
        }
        throw std::runtime_error("the memory of a program cannot be read");
    }

  private:
    pid_t m_process = 0;
};

/// The screen, which reports when anything is drawn on it.
class Screen {
  public:
    /// Throws std::runtime_error without a screen.
    Screen() : m_display(XOpenDisplay(nullptr), XCloseDisplay) {
        int errors = 0;
        if (!m_display || XDamageQueryExtension(m_display.get(), &m_events, &errors) == 0) {
            throw std::runtime_error(
                "needs an X screen of its own: tests/window/in-a-session kelvane-bench start ...");
        }
        XDamageCreate(m_display.get(), XDefaultRootWindow(m_display.get()), XDamageReportRawRectangles);
        XFlush(m_display.get());
    }

    /// When the last thing was drawn before the screen was quiet, and how often something was. Throws
    /// std::runtime_error where nothing is drawn, or without end.
    struct Drawing {
        SteadyClock::time_point Last;
        std::size_t Count = 0;
    };
    Drawing WaitUntilQuiet() {
        const auto end = SteadyClock::now() + kLimit;
        Drawing drawing;
        while (SteadyClock::now() < end) {
            if (XPending(m_display.get()) == 0) {
                pollfd wait{.fd = XConnectionNumber(m_display.get()), .events = POLLIN, .revents = 0};
                if (poll(&wait, 1, kQuiet.count()) == 0 && drawing.Count > 0) {
                    return drawing;
                }
                continue;
            }
            XEvent event;
            XNextEvent(m_display.get(), &event);
            if (event.type == m_events + XDamageNotify) {
                drawing.Last = SteadyClock::now();
                ++drawing.Count;
            }
        }
        throw std::runtime_error("the screen was never quiet after a picture");
    }

  private:
    std::unique_ptr<Display, decltype(&XCloseDisplay)> m_display;
    int m_events = 0;
};

/// What the starts of a program took: a column for each figure.
struct Figures {
    std::vector<double> SettledMilliseconds;
    std::vector<double> CpuMilliseconds;
    std::vector<double> ResidentMiB;
    std::vector<double> ProportionalMiB;
    std::vector<double> Drawings;
};

void MeasureStart(Screen& screen, const std::string& program, Figures& figures) {
    const auto start = SteadyClock::now();
    const Child child({program});
    const auto drawing = screen.WaitUntilQuiet();
    figures.SettledMilliseconds.push_back(Milliseconds(drawing.Last - start));
    figures.CpuMilliseconds.push_back(child.CpuMilliseconds());
    figures.ResidentMiB.push_back(child.Memory("Rss"));
    figures.ProportionalMiB.push_back(child.Memory("Pss"));
    figures.Drawings.push_back(static_cast<double>(drawing.Count));
}

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

struct Column {
    const char* name;
    std::vector<double> Figures::*values;
};
constexpr Column kColumns[] = {
    {"settled_median_ms", &Figures::SettledMilliseconds},
    {"cpu_median_ms", &Figures::CpuMilliseconds},
    {"resident_median_mib", &Figures::ResidentMiB},
    {"proportional_median_mib", &Figures::ProportionalMiB},
    {"drawings_median", &Figures::Drawings},
};

}  // namespace

int Start(std::span<char* const> arguments) {
    const std::size_t starts = arguments.size() == 2 ? std::strtoul(arguments[0], nullptr, 10) : 0;
    if (starts == 0) {
        std::fputs("kelvane-bench start: needs STARTS, above 0, and SYSROOT\n", stderr);
        return 2;
    }
    const auto programs = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const TemporaryDirectory directory;
    setenv("KELVANE_RPC_DIRECTORY", directory.Path().c_str(), 1);
    const Child service({programs / "kelvane-service", "--sysroot", arguments[1]});
    while (!std::filesystem::exists(directory.Path() + "/HotkeyRpcEndpoint")) {
        std::this_thread::sleep_for(1ms);
    }

    Screen screen;
    Figures application;
    Figures plain;
    // The first of each fills the caches.
    for (std::size_t i = 0; i <= starts; ++i) {
        if (i == 1) {
            application = {};
            plain = {};
        }
        MeasureStart(screen, programs / "kelvane", application);
        screen.WaitUntilQuiet();
        MeasureStart(screen, programs / "kelvane-plain-window", plain);
        screen.WaitUntilQuiet();
    }
    nlohmann::ordered_json line{{"starts", starts}};
    for (const auto& column : kColumns) {
        const double ours = Median(application.*column.values);
        const double theirs = Median(plain.*column.values);
        line[column.name] = {{"application", ours}, {"plain", theirs}, {"ratio", ours / theirs}};
    }
    std::printf("%s\n", line.dump().c_str());
    return 0;
}

}  // namespace bench
