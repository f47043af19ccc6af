#pragma once

// The page that lists the keys of the page it was called from. All members run on the user-interface thread.

#include <memory>
#include <string>

#include "chrome/CustomTitleBar.h"
#include "chrome/PageChrome.h"
#include "platform/xaml/Navigation.h"
#include "platform/xaml/Panels.h"

namespace Kelvane {

class ShortcutsPage final : public platform::Page, public ReturningPage {
  public:
    ShortcutsPage();

    void Return() override;

  protected:
    /// The parameter is the list: for each row what the keys do, a tab, the keys, and the end of the line.
    void OnNavigatedTo(const platform::NavigationEventArgs& args) override;

  private:
    void AddRow(std::u16string name, std::u16string keys);

    std::shared_ptr<CustomTitleBar> m_titleBar;
    std::shared_ptr<platform::Panel> m_rows;
};

/// Navigates `frame` to the list of the keys of the page that it shows; nothing when that is the list.
void ShowShortcuts(platform::Frame& frame);

}  // namespace Kelvane
