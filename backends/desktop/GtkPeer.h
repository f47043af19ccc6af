#pragma once

#include "backends/desktop/CellLayout.h"
#include "backends/desktop/PeerClient.h"
#include "platform/xaml/FrameworkElement.h"
#include "platform/xaml/Keyboard.h"

namespace desktop {

/// What every element has as a widget: place, visibility, direction, style, name. One derived class per
/// family of elements. User-interface thread; lives while its element is in the window, whose client outlives
/// it.
class GtkPeer : public platform::ElementPeer {
  public:
    /// Takes over `widget`.
    GtkPeer(PeerClient& client, platform::FrameworkElement& element, GtkWidget* widget);
    ~GtkPeer() override;
    GtkPeer(const GtkPeer&) = delete;
    GtkPeer& operator=(const GtkPeer&) = delete;

    /// The peer of `element`; null outside the window. Every peer of this window is one of these.
    static GtkPeer* Of(const platform::UIElement& element);
    /// The peer that `widget` or the nearest widget above it belongs to, or null.
    static GtkPeer* Around(GtkWidget* widget);

    void Update(platform::ElementProperty property) override;
    void Focus() override;
    bool ContainsFocus() const override;
    bool IsPointerOver() const override;

    /// Reads every property, once, after construction.
    void UpdateAll();

    platform::FrameworkElement& Element() const { return m_element; }
    GtkWidget* Widget() const { return m_widget.get(); }
    /// What the parent places: the widget, or the drag area around it.
    GtkWidget* Outer() const { return m_handle ? m_handle.get() : m_widget.get(); }

    /// A text somewhere below has appeared or disappeared.
    virtual void TextBelowChanged() {}

    /// Has a screen reader say `text`, when the element has the focus. The toolkit has no live regions before
    /// version 4.14. But each change of a description is said, if it is not empty.
    void Announce(std::u16string_view text);

    /// What a text does with a key. False when its widget does it.
    virtual bool Perform(platform::TextGesture /*gesture*/) { return false; }

    /// A text that has got the focus without the user's doing is not selected.
    virtual void Unselect() {}

    /// The element's area moves the window, or no longer does.
    void MakeDragArea(bool dragArea);

    /// What the widget scrolls; null for one that scrolls nothing.
    virtual GtkWidget* Scrolled() const { return nullptr; }

  protected:
    PeerClient& Client() const { return m_client; }

    /// The cells of the element's visible children, for the layout of its widget.
    std::vector<Cell> ChildCells() const;
    /// The children's widgets, in reading order.
    std::vector<GtkWidget*> ChildWidgets() const;

    /// What the pointer is shown; empty for nothing.
    virtual std::u16string ToolTip() const { return m_element.Accessibility().ToolTip; }

    /// The element's name is not empty.
    virtual void UpdateName(const std::string& name);
    /// A screen reader says no change of what is told by a relation.
    void Relate(GtkAccessibleRelation relation, const std::vector<GtkWidget*>& labels);

  private:
    void UpdateDirection();
    void UpdateLayout();
    void UpdateStyle();
    void UpdateAccessibility();

    PeerClient& m_client;
    platform::FrameworkElement& m_element;
    GObjectPtr<GtkWidget> m_widget;
    Signal m_toolTipAsked;
    GObjectPtr<GtkWidget> m_handle;
    std::string m_styleClass;
    /// Not on the screen: what describes the element. Null without a tool tip.
    GObjectPtr<GtkWidget> m_toolTip;
};

}  // namespace desktop
