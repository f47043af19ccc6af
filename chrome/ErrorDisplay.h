#pragma once

#include "platform/xaml/Controls.h"
#include "platform/xaml/Navigation.h"

namespace Kelvane {

/// A page that tells of an error, for markup to use by its name. It does nothing by itself.
class ErrorDisplay final : public platform::Page {
  public:
    ErrorDisplay();
    ~ErrorDisplay() override;

  private:
    std::shared_ptr<platform::FontIcon> m_icon;
    std::shared_ptr<platform::TextBlock> m_message;
};

}  // namespace Kelvane
