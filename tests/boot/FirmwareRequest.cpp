// Asks the service for what the window's diagnostics button asks for ("set"), or takes it back ("cancel").
// Prints the status of the call; exit status 0 when it is 0.

#include <iostream>
#include <string_view>

#include "service/DetailsClient.h"
#include "service/RpcClient.h"

namespace {

std::int64_t Ask(std::string_view what) {
    if (what == "cancel") {
        return Kelvane::DetailsClient().CancelFirmwareRequest();
    }
    Kelvane::RpcClient client;
    const auto connected = client.Initialize();
    return connected == 0 ? client.SetUEFIFlag() : connected;
}

}  // namespace

int main(int count, char** arguments) {
    const auto status = Ask(count > 1 ? arguments[1] : "");
    std::cout << status << '\n';
    return status == 0 ? 0 : 1;
}
