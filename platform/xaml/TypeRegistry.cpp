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

/// The types in the making, the innermost last.
std::vector<std::u16string_view>& Making() {
    static std::vector<std::u16string_view> making;
    return making;
}

class MakingScope {
  public:
    explicit MakingScope(std::u16string_view type) { Making().push_back(type); }
    ~MakingScope() { Making().pop_back(); }
    MakingScope(const MakingScope&) = delete;
    MakingScope& operator=(const MakingScope&) = delete;
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
    if (std::find(Making().begin(), Making().end(), found->first) != Making().end()) {
        throw Exception(result::kMarkup, found->first + u" contains itself");
    }
    const MakingScope scope(found->first);
    return found->second();
}

}  // namespace platform
