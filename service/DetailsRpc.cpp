#include "service/DetailsRpc.h"

#include <cstdlib>
#include <iterator>

namespace Kelvane {

namespace {

using platform::rpc::Direction;
using platform::rpc::Handle;
using platform::rpc::Kind;
using platform::rpc::Procedure;

constexpr Procedure kDetailsProcedures[] = {
    {.Number = details_procedure::ReadDetails,
     .Handle = Handle::Binding,
     .Parameters = {{{.Kind = Kind::CountedText, .Direction = Direction::Out}}}},
    {.Number = details_procedure::CancelFirmwareRequest, .Handle = Handle::Binding},
};
static_assert(std::size(kDetailsProcedures) == details_procedure::Count &&
              kDetailsProcedures[0].Number == 0 && kDetailsProcedures[1].Number == 1);

}  // namespace

constinit const platform::rpc::InterfaceDescription kDetailsRpc{
    .Id = {{0x1730ccc4, 0xcb76, 0x446b, {0x9d, 0x49, 0xca, 0xa4, 0x57, 0x12, 0x6a, 0xa2}}, 1, 0},
    .Flags = platform::rpc::interface_flag::kHasMultipleTransferSyntaxes,
    .Procedures = kDetailsProcedures,
    .Callbacks = {},
    .CallbackRoutines = {},
    .Allocate = std::malloc,
    .Free = std::free,
};

}  // namespace Kelvane
