#include "platform/xaml/TypeRegistry.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "platform/core/Exception.h"
#include "platform/xaml/UIElement.h"

namespace platform {

namespace {

std::map<std::u16string, TypeFactory, std::less<>>& Types() {
    static std::map<std::u16string, TypeFactory, std::less<>> types;
    return types;
}

/// An ActivateType in progress.
struct Activation {
    std::u16string_view type;
    std::exception_ptr failure;
};

/// The innermost last.
std::vector<Activation>& Activations() {
    static std::vector<Activation> activations;
    return activations;
}

class ActivationScope {
  public:
    explicit ActivationScope(std::u16string_view type) {
        Activations().push_back({.type = type, .failure = nullptr});
    }
    ~ActivationScope() { Activations().pop_back(); }
    ActivationScope(const ActivationScope&) = delete;
    ActivationScope& operator=(const ActivationScope&) = delete;
};

}  // namespace

void RegisterType(std::u16string_view fullName, TypeFactory factory) {
    Types().insert_or_assign(std::u16string(fullName), std::move(factory));
}

std::shared_ptr<UIElement> ActivateType(std::u16string_view fullName) {
    const auto found = Types().find(fullName);
    if (found == Types().end()) {
        throw Exception(result::kFail, u"There is no type " + std::u16string(fullName));
    }
    if (std::any_of(Activations().begin(), Activations().end(),
                    [&](const Activation& activation) { return activation.type == found->first; })) {
        throw Exception(result::kMarkup, found->first + u" contains itself");
    }
    const ActivationScope scope(found->first);
    auto made = found->second();
    if (const auto& failure = Activations().back().failure) {
        std::rethrow_exception(failure);
    }
    return made;
}

void FailActivation(std::exception_ptr failure) {
    if (!Activations().empty() && !Activations().back().failure) {
        Activations().back().failure = std::move(failure);
    }
}

}  // namespace platform
