#pragma once

#include <string>

#include "viewmodel/MainViewModel.h"

namespace Kelvane {

/// A record out of the view model's cache; `get` is one of its copy-out operations.
inline std::u16string CachedRecord(void (MainViewModel::*get)(char16_t*, std::int32_t) const,
                                   std::int32_t capacity) {
    std::u16string buffer(static_cast<std::size_t>(capacity) + 1, u'\0');
    ((*MainViewModel::GetInstance()).*get)(buffer.data(), capacity);
    buffer.resize(buffer.find(u'\0'));
    return buffer;
}

}  // namespace Kelvane
