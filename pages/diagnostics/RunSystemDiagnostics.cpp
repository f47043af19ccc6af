#include "pages/diagnostics/RunSystemDiagnostics.h"

#include "logging/Trace.h"
#include "pages/RequestInProgress.h"
#include "pages/WorkThenShow.h"
#include "platform/xaml/Markup.h"
#include "platform/xaml/Window.h"
#include "viewmodel/MainViewModel.h"

namespace Kelvane {

RunSystemDiagnostics::RunSystemDiagnostics() {
    TracedUncaught(u"Kelvane::RunSystemDiagnostics::RunSystemDiagnostics", [this] {
        InitializeComponent();
        AddCustomTitleBar();
    });
}

RunSystemDiagnostics::~RunSystemDiagnostics() {
    TracedUncaught(u"Kelvane::RunSystemDiagnostics::~RunSystemDiagnostics", [] {});
}

void RunSystemDiagnostics::InitializeComponent() {
    platform::LoadComponent(
        *this, u"ms-appx:///RunSystemDiagnostics.xaml",
        {.EventHandlers = {{u"Ok_Click", platform::Handler(this, &RunSystemDiagnostics::Ok_Click)},
                           {u"Cancel_Click", platform::Handler(this, &RunSystemDiagnostics::Cancel_Click)}}});
}

void RunSystemDiagnostics::AddCustomTitleBar() {
    Traced(u"Kelvane::RunSystemDiagnostics::AddCustomTitleBar",
           [this] { WrapInTitleBar(*this, m_titleBar, TitleBarRing::Stopped); });
}

void RunSystemDiagnostics::RemoveCustomTitleBar() {
    Traced(u"Kelvane::RunSystemDiagnostics::RemoveCustomTitleBar",
           [this] { UnwrapFromTitleBar(*this, m_titleBar); });
}

void RunSystemDiagnostics::Ok_Click(platform::UIElement&, const platform::RoutedEventArgs&) {
    Traced(u"Kelvane::RunSystemDiagnostics::Ok_Click", [this](const Trace& trace) {
        WorkThenShow(
            trace,
            [viewModel = MainViewModel::GetInstance()] {
                Trace(u"Kelvane::RunSystemDiagnostics::Ok_Click::<lambda_1>::operator ()")
                    .Verbose(u"Ok_Click()-create_task");
                viewModel->SetUEFIFlagOperation();
            },
            [request = RequestInProgress(u"Kelvane::RunSystemDiagnostics::Ok_Click")] {
                Trace(u"Kelvane::RunSystemDiagnostics::Ok_Click::<lambda_2>::operator ()")
                    .Verbose(u"Ok_Click()-RunAsync");
            });
        GoBackFrom(trace, u"OK Button UI casting failed", [this] { RemoveCustomTitleBar(); });
    });
}

void RunSystemDiagnostics::Cancel_Click(platform::UIElement&, const platform::RoutedEventArgs&) {
    Traced(u"Kelvane::RunSystemDiagnostics::Cancel_Click", [this](const Trace& trace) {
        GoBackFrom(trace, u"Cancel Button UI casting failed", [this] { RemoveCustomTitleBar(); });
    });
}

}  // namespace Kelvane
