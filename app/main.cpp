#include <cstdio>

#include "app/App.h"
#include "app/CommandLine.h"
#include "app/TextOutput.h"
#include "backends/headless/HeadlessWorld.h"
#include "package/PackageContent.h"
#include "platform/core/EndSignals.h"
#include "platform/resources/Package.h"

namespace {

using Kelvane::CommandLine;

int PrintVersion() {
    const auto& version = platform::Package::Current().Id().Version();
    std::printf("kelvane %u.%u.%u.%u\n", version.Major, version.Minor, version.Build, version.Revision);
    return 0;
}

/// Runs the whole application without a screen and prints what it shows.
int RunText(const CommandLine& line) {
    headless::HeadlessWorld world({.Words = line.Words});
    int status = 1;
    const int ended = platform::Application::Start(world, [&status] {
        platform::Application::WhenIdle([&status] {
            status = Kelvane::PrintRows();
            platform::Application::Exit();
        });
        return Kelvane::App::Create();
    });
    return ended != 0 ? ended : status;
}

}  // namespace

int main(int argc, char** argv) {
    platform::BlockEndSignals();
    platform::SetPackageFiles(Kelvane::PackageContent());
    Kelvane::RegisterPages();
    const auto line = Kelvane::ParseCommandLine({argv + 1, argv + argc});
    switch (line.Wanted) {
        case CommandLine::Action::Help:
            std::fputs(Kelvane::kUsage, stdout);
            return 0;
        case CommandLine::Action::Version:
            return PrintVersion();
        case CommandLine::Action::Invalid:
            std::fprintf(stderr, "kelvane: %s; see 'kelvane --help'\n", line.Problem.c_str());
            return 2;
        case CommandLine::Action::Text:
        case CommandLine::Action::Window:
            return RunText(line);
    }
}
