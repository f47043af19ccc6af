#pragma once

#include "platform/xaml/FrameworkElement.h"

namespace platform {

/// An element with a list of children.
class Panel : public FrameworkElement {
  public:
    ~Panel() override;

    std::span<const std::shared_ptr<UIElement>> Children() const override { return m_children; }

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

    /// In a narrower place than this, or one that the columns do not fit into, the children stand one below
    /// the other, StackSpacing apart; zero for never. Device-independent pixels.
    double StackBelow() const { return m_stackBelow; }
    void StackBelow(double value) { Set(m_stackBelow, value, ElementProperty::Layout); }

    double StackSpacing() const { return m_stackSpacing; }
    void StackSpacing(double value) { Set(m_stackSpacing, value, ElementProperty::Layout); }

    /// In a higher place than this the grid has no more than its natural height, and stands in the middle;
    /// zero for never. Device-independent pixels.
    double CenterAbove() const { return m_centerAbove; }
    void CenterAbove(double value) { Set(m_centerAbove, value, ElementProperty::Layout); }

    /// The attached property Grid.Row of `element`.
    static void SetRow(FrameworkElement& element, int row);

  private:
    std::vector<GridLength> m_rows;
    std::vector<GridLength> m_columns;
    double m_rowSpacing = 0;
    double m_columnSpacing = 0;
    double m_stackBelow = 0;
    double m_stackSpacing = 0;
    double m_centerAbove = 0;
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

/// Children one after another, in as many lines as they need; one that is aligned to the right stands at the
/// end of its line. The child after a WrapPanel in a WrapPanel continues its last line.
class WrapPanel : public Panel {
  public:
    double HorizontalSpacing() const { return m_horizontalSpacing; }
    void HorizontalSpacing(double value) { Set(m_horizontalSpacing, value, ElementProperty::Layout); }

    double VerticalSpacing() const { return m_verticalSpacing; }
    void VerticalSpacing(double value) { Set(m_verticalSpacing, value, ElementProperty::Layout); }

  private:
    double m_horizontalSpacing = 0;
    double m_verticalSpacing = 0;
};

}  // namespace platform
