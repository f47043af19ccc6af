#include "platform/core/World.h"

#include "platform/core/Exception.h"

namespace platform {

namespace {
World* g_world = nullptr;
}

World& CurrentWorld() {
    if (g_world == nullptr) {
        throw Exception(result::kIllegalMethodCall, u"The application has not been started");
    }
    return *g_world;
}

WorldScope::WorldScope(World& world) {
    g_world = &world;
}

WorldScope::~WorldScope() {
    g_world = nullptr;
}

}  // namespace platform
