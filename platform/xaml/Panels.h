#pragma once

#include "platform/xaml/FrameworkElement.h"

namespace platform {

/// An element with a list of children.
class Panel : public FrameworkElement {
  public:
    ~Panel() override;

    std::vector<UIElement*> Children() const override;

    std::size_t Size() const { return m_children.size(); }

    /// Takes part in the ownership of `child`; refuses one that has a parent.
    void Append(std::shared_ptr<UIElement> child);

    /// Nothing happens when there is no child.
    void RemoveAtEnd();

    const Thickness& Padding() const { return m_padding; }
    void Padding(Thickness value) { Set(m_padding, value, ElementProperty::Layout); }

  private:
    std::vector<std::shared_ptr<UIElement>> m_children;
    Thickness m_padding;
};

/// Children in cells by their Layout().Row and Column.
class Grid : public Panel {
  public:
    const std::vector<GridLength>& RowDefinitions() const { return m_rows; }
    void RowDefinitions(std::vector<GridLength> value) {
        Set(m_rows, std::move(value), ElementProperty::Layout);
    }

    const std::vector<GridLength>& ColumnDefinitions() const { return m_columns; }
    void ColumnDefinitions(std::vector<GridLength> value) {
        Set(m_columns, std::move(value), ElementProperty::Layout);
    }

    double RowSpacing() const { return m_rowSpacing; }
    void RowSpacing(double value) { Set(m_rowSpacing, value, ElementProperty::Layout); }

    double ColumnSpacing() const { return m_columnSpacing; }
    void ColumnSpacing(double value) { Set(m_columnSpacing, value, ElementProperty::Layout); }

    /// The attached property Grid.Row of `element`.
    static void SetRow(FrameworkElement& element, int row);

  private:
    std::vector<GridLength> m_rows;
    std::vector<GridLength> m_columns;
    double m_rowSpacing = 0;
    double m_columnSpacing = 0;
};

/// Children one after another.
class StackPanel : public Panel {
  public:
    platform::Orientation Orientation() const { return m_orientation; }
    void Orientation(platform::Orientation value) { Set(m_orientation, value, ElementProperty::Layout); }

    double Spacing() const { return m_spacing; }
    void Spacing(double value) { Set(m_spacing, value, ElementProperty::Layout); }

  private:
    platform::Orientation m_orientation = platform::Orientation::Vertical;
    double m_spacing = 0;
};

}  // namespace platform
