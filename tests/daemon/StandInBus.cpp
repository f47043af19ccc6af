#include "tests/daemon/StandInBus.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace daemon_service {

namespace {

void Check(int result, const char* what) {
    if (result < 0) {
        throw std::runtime_error(what);
    }
}

}  // namespace

StandInBus::StandInBus(const std::vector<std::string>& names) {
    int ends[2];
    Check(pipe2(ends, O_CLOEXEC), "pipe");
    m_daemon = fork();
    if (m_daemon == 0) {
        dup2(ends[1], 3);
        execlp("dbus-daemon", "dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address=3",
               nullptr);
        _exit(127);
    }
    close(ends[1]);
    char address[512];
    const ssize_t length = read(ends[0], address, sizeof address);
    close(ends[0]);
    if (length <= 1) {
        throw std::runtime_error("dbus-daemon does not start");
    }
    setenv("DBUS_SYSTEM_BUS_ADDRESS", std::string(address, static_cast<std::size_t>(length - 1)).c_str(), 1);

    Check(sd_bus_open_system(&m_bus), "open the bus");
    for (const char* path : {"/org/freedesktop/login1", "/org/freedesktop/systemd1"}) {
        Check(sd_bus_add_object(m_bus, nullptr, path, Answer, this), "add object");
    }
    for (const std::string& name : names) {
        Check(sd_bus_request_name(m_bus, name.c_str(), 0), "request name");
    }
    m_thread = std::thread([this] {
        while (!m_stopping) {
            if (sd_bus_process(m_bus, nullptr) == 0) {
                sd_bus_wait(m_bus, 20'000);
            }
        }
    });
}

StandInBus::~StandInBus() {
    m_stopping = true;
    m_thread.join();
    sd_bus_flush_close_unref(m_bus);
    unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    kill(m_daemon, SIGTERM);
    waitpid(m_daemon, nullptr, 0);
}

int StandInBus::Answer(sd_bus_message* message, void* self, sd_bus_error*) {
    return static_cast<StandInBus*>(self)->Handle(message);
}

int StandInBus::Handle(sd_bus_message* message) {
    const std::string member = sd_bus_message_get_member(message);
    if (member == "Get") {
        return HandleProperty(message);
    }
    return State.With([&](BusState& state) {
        if (member == "CanRebootToFirmwareSetup" || member == "CanRebootToBootLoaderEntry") {
            const bool setup = member == "CanRebootToFirmwareSetup";
            return sd_bus_reply_method_return(message, "s",
                                              (setup ? state.CanSetup : state.CanEntry).c_str());
        }
        if (!state.FailWith.empty()) {
            return sd_bus_reply_method_errorf(message, state.FailWith.c_str(), "as the test wants");
        }
        if (member == "SetRebootToFirmwareSetup") {
            int wanted = 0;
            sd_bus_message_read(message, "b", &wanted);
            state.SetupRequested = state.Forgets ? state.SetupRequested : wanted != 0;
            state.Calls.push_back(member + (wanted != 0 ? " true" : " false"));
        } else if (member == "SetRebootToBootLoaderEntry") {
            const char* entry = nullptr;
            sd_bus_message_read(message, "s", &entry);
            state.EntryRequested = state.Forgets ? state.EntryRequested : entry;
            state.Calls.push_back(member + " " + entry);
        } else if (member == "StartUnit") {
            const char* unit = nullptr;
            sd_bus_message_read(message, "s", &unit);
            state.Calls.push_back(member + " " + unit);
            constexpr auto kJob = "/org/freedesktop/systemd1/job/1";
            const int result = sd_bus_reply_method_return(message, "o", kJob);
            sd_bus_emit_signal(m_bus, "/org/freedesktop/systemd1", "org.freedesktop.systemd1.Manager",
                               "JobRemoved", "uoss", 1U, kJob, unit, state.JobResult.c_str());
            return result;
        } else {
            return 0;
        }
        return sd_bus_reply_method_return(message, nullptr);
    });
}

int StandInBus::HandleProperty(sd_bus_message* message) {
    const char* interface = nullptr;
    const char* name = nullptr;
    sd_bus_message_read(message, "ss", &interface, &name);
    const std::string property = name;
    return State.With([&](BusState& state) {
        if (property == "RebootToFirmwareSetup") {
            return sd_bus_reply_method_return(message, "v", "b", state.SetupRequested ? 1 : 0);
        }
        if (property == "RebootToBootLoaderEntry") {
            return sd_bus_reply_method_return(message, "v", "s", state.EntryRequested.c_str());
        }
        if (property == "BootLoaderEntries") {
            return sd_bus_reply_method_return(message, "v", "as", 1, state.Entries.at(0).c_str());
        }
        return 0;
    });
}

}  // namespace daemon_service
