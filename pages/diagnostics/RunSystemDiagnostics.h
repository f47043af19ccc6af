#pragma once

// The page that asks whether the firmware diagnostics are to run at the next start. OK hands the request to a
// worker, where it outlives the page, and leaves at once; Cancel only leaves. All members run on the
// user-interface thread.

#include <memory>

#include "chrome/CustomTitleBar.h"
#include "chrome/PageChrome.h"
#include "platform/xaml/Markup.h"
#include "platform/xaml/Navigation.h"

namespace Kelvane {

class RunSystemDiagnostics final : public platform::Page, public ReturningPage {
  public:
    RunSystemDiagnostics();
    ~RunSystemDiagnostics() override;

    void AddCustomTitleBar();
    void RemoveCustomTitleBar();

    void Return() override { Cancel_Click(*this, {}); }

  private:
    void InitializeComponent();
    /// In place of the general text, as far as the details say it; at once or when they have come.
    void ShowWhatWillHappen(const platform::NamedElements& elements);

    void Ok_Click(platform::UIElement& sender, const platform::RoutedEventArgs& args);
    void Cancel_Click(platform::UIElement& sender, const platform::RoutedEventArgs& args);

    std::shared_ptr<CustomTitleBar> m_titleBar;
};

}  // namespace Kelvane
