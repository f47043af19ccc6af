#include "tests/support/WireData.h"

#include <fstream>

namespace platform::rpc::test {

std::vector<std::vector<std::string>> Rows(std::string_view kind) {
    std::ifstream file(KELVANE_TESTS "/rpc/wire.txt");
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(file, line);) {
        std::vector<std::string> fields(1);
        for (const char letter : line) {
            letter == '|' ? void(fields.emplace_back()) : fields.back().push_back(letter);
        }
        for (std::string& field : fields) {
            field.erase(field.find_last_not_of(' ') + 1);
            field.erase(0, field.find_first_not_of(' '));
        }
        if (fields[0] == kind) {
            rows.push_back(std::move(fields));
        }
    }
    return rows;
}

Bytes Copied(ByteView bytes) {
    return {bytes.begin(), bytes.end()};
}

Bytes BindOf(const SyntaxId& syntax, std::uint32_t group, std::uint16_t maxReceive) {
    Buffer bind;
    AppendBind(bind, PduType::Bind, 1,
               {.MaxReceive = maxReceive,
                .AssociationGroup = group,
                .Elements = {{0, Kelvane::kHotkeyRpc.Id, {syntax}}}});
    return Copied(bind);
}

Bytes MessageOf(const CallHeader& header, ByteView stub, std::size_t fragmentSize) {
    Buffer message;
    BeginCall(message);
    Append(message, stub);
    FinishCall(message, header, fragmentSize);
    return Copied(message);
}

}  // namespace platform::rpc::test
