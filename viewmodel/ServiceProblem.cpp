#include "viewmodel/ServiceProblem.h"

#include <algorithm>
#include <iterator>

#include "platform/rpc/Status.h"

namespace Kelvane {

namespace {

namespace status = platform::rpc::status;

/// What a status means. Some mean another thing when somebody listens at the endpoint.
struct Meaning {
    std::int64_t status;
    std::u16string_view key;
    std::u16string_view keyWithListener = key;
};

constexpr Meaning kMeanings[] = {
    {-1, u"ServiceOutOfMemory", u"ServiceHasNoRecord"},
    {status::kAccessDenied, u"ServiceSocketDenied", u"ServiceAccessDenied"},
    {kRecordUnusable, u"ServiceRecordUnusable"},
    {status::kOutOfMemory, u"ServiceOutOfMemory"},
    {status::kServerOutOfMemory, u"ServiceOutOfMemory"},
    {status::kRevisionMismatch, u"ServiceOtherVersion"},
    {status::kMutualAuthenticationFailed, u"ServiceImpostor"},
    {kNoAnswer, u"ServiceNoAnswer"},
    {status::kInvalidEndpointFormat, u"ServicePlaceInvalid"},
    {kNoInterface, u"ServiceOtherVersion"},
    // The program has no file descriptor left, or no thread.
    {status::kOutOfResources, u"ServiceOutOfMemory"},
    {status::kServerUnavailable, u"ServiceNotRunning", u"ServiceAnswerLost"},
    {status::kServerTooBusy, u"ServiceTooBusy"},
    {status::kCallFailed, u"ServiceAnswerLost"},
    {status::kCallFailedDidNotExecute, u"ServiceAnswerLost"},
    {status::kProtocolError, u"ServiceAnswerBroken"},
    {status::kUnsupportedTransferSyntax, u"ServiceOtherVersion"},
    {status::kInvalidBound, u"ServiceAnswerBroken"},
    {status::kStringTooLong, u"ServiceRecordTooLong"},
    {status::kProcedureOutOfRange, u"ServiceOtherVersion"},
    {status::kBadStubData, u"ServiceAnswerBroken"},
};

}  // namespace

std::u16string_view ResourceKeyOf(const ServiceProblem& problem) {
    const auto* const found = std::ranges::find(kMeanings, problem.Status, &Meaning::status);
    if (found == std::end(kMeanings)) {
        return u"ServiceFailed";
    }
    return problem.Listener.empty() ? found->key : found->keyWithListener;
}

}  // namespace Kelvane
