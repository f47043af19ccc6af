#include "daemon/actions/SystemBus.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>

#include "daemon/actions/ActionError.h"

namespace daemon_service {

namespace {

using Status = ActionError::Status;

struct BusError {
    BusError() = default;
    BusError(const BusError&) = delete;
    BusError& operator=(const BusError&) = delete;
    ~BusError() { sd_bus_error_free(&Value); }

    sd_bus_error Value{};
};

struct MessageCloser {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, MessageCloser>;

struct ErrorName {
    const char* Name;
    Status Code;
};
constexpr ErrorName kErrorNames[] = {
    {SD_BUS_ERROR_ACCESS_DENIED, Status::AccessDenied},
    {SD_BUS_ERROR_AUTH_FAILED, Status::AccessDenied},
    {SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED, Status::AccessDenied},
    {SD_BUS_ERROR_SERVICE_UNKNOWN, Status::NotRunning},
    {SD_BUS_ERROR_NAME_HAS_NO_OWNER, Status::NotRunning},
    {SD_BUS_ERROR_NOT_SUPPORTED, Status::NotSupported},
    {SD_BUS_ERROR_UNKNOWN_METHOD, Status::NotSupported},
    {SD_BUS_ERROR_UNKNOWN_PROPERTY, Status::NotSupported},
    {SD_BUS_ERROR_UNKNOWN_OBJECT, Status::NotRunning},
    {SD_BUS_ERROR_NO_REPLY, Status::TimedOut},
    {SD_BUS_ERROR_TIMEOUT, Status::TimedOut},
    {"org.freedesktop.systemd1.NoSuchUnit", Status::NotFound},
};

Status StatusOfErrno(int error) {
    switch (error) {
        case ENOSPC:
            return Status::DiskFull;
        case EACCES:
        case EPERM:
            return Status::AccessDenied;
        case EOPNOTSUPP:
            return Status::NotSupported;
        case ETIMEDOUT:
            return Status::TimedOut;
        case ENOENT:
        case ECONNREFUSED:
            return Status::NotRunning;
        default:
            return Status::Failed;
    }
}

/// The failure of a call to `method`; the other side's own words come last.
ActionError Failure(const char* method, const BusError& error, int result) {
    Status code = StatusOfErrno(-result);
    for (const ErrorName& known : kErrorNames) {
        if (sd_bus_error_has_name(&error.Value, known.Name) > 0) {
            code = known.Code;
        }
    }
    const char* words = error.Value.message != nullptr ? error.Value.message : std::strerror(-result);
    return {code, std::string(method) + " failed: " + words};
}

ActionError Unreachable(int result) {
    return {Status::NotRunning, std::string("the system bus cannot be reached: ") + std::strerror(-result)};
}

/// Works on what the bus brings until `done` says so; throws `late` after the limit.
void ProcessUntil(sd_bus* bus, std::chrono::microseconds limit, const std::function<bool()>& done,
                  const std::string& late) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        int result = sd_bus_process(bus, nullptr);
        if (result == 0) {
            const auto left =
                std::chrono::duration_cast<std::chrono::microseconds>(end - std::chrono::steady_clock::now());
            if (left.count() <= 0) {
                throw ActionError(Status::TimedOut, late);
            }
            result = sd_bus_wait(bus, static_cast<std::uint64_t>(left.count()));
        }
        if (result < 0 && result != -EINTR) {
            throw Unreachable(result);
        }
    }
}

}  // namespace

SystemBus::SystemBus(std::chrono::microseconds limit) : m_limit(limit) {
    sd_bus* bus = nullptr;
    const int result = sd_bus_open_system(&bus);
    if (result < 0) {
        throw Unreachable(result);
    }
    m_bus.reset(bus);
    // sd-bus itself would bound the handshake by 90 s.
    ProcessUntil(
        bus, limit, [bus] { return sd_bus_is_ready(bus) != 0; }, "the system bus does not answer");
    sd_bus_set_method_call_timeout(bus, static_cast<std::uint64_t>(limit.count()));
}

bool SystemBus::ReadBoolean(const BusObject& object, const char* property) {
    BusError error;
    int value = 0;
    const int result = sd_bus_get_property_trivial(m_bus.get(), object.Service, object.Path, object.Interface,
                                                   property, &error.Value, 'b', &value);
    if (result < 0) {
        throw Failure(property, error, result);
    }
    return value != 0;
}

std::string SystemBus::ReadText(const BusObject& object, const char* property) {
    BusError error;
    char* value = nullptr;
    const int result = sd_bus_get_property_string(m_bus.get(), object.Service, object.Path, object.Interface,
                                                  property, &error.Value, &value);
    const std::unique_ptr<char, decltype(&std::free)> owner(value, std::free);
    if (result < 0) {
        throw Failure(property, error, result);
    }
    return value;
}

std::vector<std::string> SystemBus::ReadTexts(const BusObject& object, const char* property) {
    BusError error;
    char** values = nullptr;
    const int result = sd_bus_get_property_strv(m_bus.get(), object.Service, object.Path, object.Interface,
                                                property, &error.Value, &values);
    if (result < 0) {
        throw Failure(property, error, result);
    }
    std::vector<std::string> texts;
    for (char** value = values; value != nullptr && *value != nullptr; ++value) {
        texts.emplace_back(*value);
        std::free(*value);
    }
    std::free(values);
    return texts;
}

std::string SystemBus::Ask(const BusObject& object, const char* method) {
    BusError error;
    sd_bus_message* raw = nullptr;
    int result = sd_bus_call_method(m_bus.get(), object.Service, object.Path, object.Interface, method,
                                    &error.Value, &raw, "");
    const Message reply(raw);
    const char* text = nullptr;
    if (result >= 0) {
        result = sd_bus_message_read(raw, "s", &text);
    }
    if (result < 0) {
        throw Failure(method, error, result);
    }
    return text;
}

void SystemBus::Call(const BusObject& object, const char* method, bool argument) {
    BusError error;
    const int result = sd_bus_call_method(m_bus.get(), object.Service, object.Path, object.Interface, method,
                                          &error.Value, nullptr, "b", argument ? 1 : 0);
    if (result < 0) {
        throw Failure(method, error, result);
    }
}

void SystemBus::Call(const BusObject& object, const char* method, const std::string& argument) {
    BusError error;
    const int result = sd_bus_call_method(m_bus.get(), object.Service, object.Path, object.Interface, method,
                                          &error.Value, nullptr, "s", argument.c_str());
    if (result < 0) {
        throw Failure(method, error, result);
    }
}

void SystemBus::StartUnit(const std::string& unit) {
    // org.freedesktop.systemd1(5). The manager reports a job's end to the connection that made the job.
    constexpr BusObject kManager{"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                                 "org.freedesktop.systemd1.Manager"};
    using Results = std::map<std::string, std::string>;  // by the job's path
    Results results;
    const auto remember = [](sd_bus_message* message, void* data, sd_bus_error*) {
        const char* job = nullptr;
        const char* result = nullptr;
        if (sd_bus_message_read(message, "uoss", nullptr, &job, nullptr, &result) >= 0) {
            (*static_cast<Results*>(data))[job] = result;
        }
        return 0;
    };
    sd_bus_slot* slot = nullptr;
    int result = sd_bus_match_signal(m_bus.get(), &slot, kManager.Service, kManager.Path, kManager.Interface,
                                     "JobRemoved", remember, &results);
    const std::unique_ptr<sd_bus_slot, decltype(&sd_bus_slot_unref)> match(slot, sd_bus_slot_unref);
    BusError error;
    sd_bus_message* raw = nullptr;
    if (result >= 0) {
        result = sd_bus_call_method(m_bus.get(), kManager.Service, kManager.Path, kManager.Interface,
                                    "StartUnit", &error.Value, &raw, "ss", unit.c_str(), "fail");
    }
    const Message reply(raw);
    const char* job = nullptr;
    if (result >= 0) {
        result = sd_bus_message_read(raw, "o", &job);
    }
    if (result < 0) {
        throw Failure("StartUnit", error, result);
    }
    ProcessUntil(
        m_bus.get(), m_limit, [&] { return results.contains(job); },
        "the service manager does not end the start of " + unit);
    if (results[job] != "done") {
        throw ActionError(Status::Failed,
                          "the start of " + unit + " ended with \"" + results[job] +
                              "\"; see the journal for the reason: journalctl --unit=" + unit);
    }
}

}  // namespace daemon_service
