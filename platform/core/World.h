#pragma once

// The world that the layer runs in: what a backend implements. backends/headless and backends/desktop each
// have one; main picks one and hands it to Application::Start.

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

class UIElement;
class SpeechEngine;
enum class ElementProperty;

/// Device-independent pixels.
struct Size {
    double Width = 0;
    double Height = 0;
};

struct Rect {
    double X = 0;
    double Y = 0;
    double Width = 0;
    double Height = 0;
};

/// Widths that the caption buttons cover at the physical left and right end of the title bar, in
/// device-independent pixels.
struct OverlayInsets {
    double Left = 0;
    double Right = 0;
    bool operator==(const OverlayInsets&) const = default;
};

/// The processor architectures, by the platform's numbers.
enum class ProcessorArchitecture { X86 = 0, Arm = 5, X64 = 9, Neutral = 11, Arm64 = 12, Unknown = 65535 };

/// The loop of the user-interface thread.
class EventLoop {
  public:
    virtual ~EventLoop() = default;

    /// Any thread. Queues `work` for the user-interface thread, in order; never runs it inline. `work` must
    /// not throw.
    virtual void Post(std::function<void()> work) = 0;

    /// Any thread. The same after `delay`, by the world's clock.
    virtual void PostAfter(std::chrono::milliseconds delay, std::function<void()> work) = 0;

    /// Any thread. Makes World::Run return once the work that runs now has ended. Work still queued is
    /// destroyed on the user-interface thread.
    virtual void Quit() = 0;
};

/// A world's side of one element in a window. User-interface thread.
class ElementPeer {
  public:
    virtual ~ElementPeer() = default;

    /// The element's property has changed; the peer reads the new value from the element.
    virtual void Update(ElementProperty property) = 0;

    /// Gives the element the keyboard focus, when it can have it.
    virtual void Focus() = 0;
};

/// What a window tells the layer. User-interface thread.
class WindowClient {
  public:
    virtual ~WindowClient() = default;

    /// The user asked to close the window. The window stays until the layer closes it.
    virtual void CloseRequested() = 0;

    virtual void OverlayInsetsChanged() = 0;
};

/// A world's side of the window. User-interface thread.
class WindowPeer {
  public:
    virtual ~WindowPeer() = default;

    /// Makes a peer for an element that enters the window. The element's parent has its peer already; its
    /// children get theirs afterwards, and after them the parent's peer is told of ElementProperty::Children.
    virtual std::unique_ptr<ElementPeer> CreatePeer(UIElement& element) = 0;

    /// The root of the tree that the window shows; null for none. The element has its peer.
    virtual void SetContent(UIElement* content) = 0;

    /// Shows the window, or brings it to the front.
    virtual void Activate() = 0;

    /// The element that the window is moved by; null for the window's own title bar. The element has its
    /// peer; when the peer goes, the window has none.
    virtual void SetTitleBar(UIElement* element) = 0;

    virtual void SetPreferredMinSize(Size size) = 0;

    /// The size at the first Activate, and from then on a request to resize; false when the world cannot.
    virtual bool Resize(Size size) = 0;

    /// The visible bounds of the content; zero before the first Activate.
    virtual Size VisibleSize() = 0;

    virtual OverlayInsets SystemOverlayInsets() = 0;

    /// Takes the window off the screen.
    virtual void Close() = 0;
};

/// What a world tells the layer about the program's life. User-interface thread.
class WorldClient {
  public:
    virtual ~WorldClient() = default;

    /// A start, the first or a later one of the same session: the words of the command line, or one URI. A
    /// prelaunch shows nothing.
    virtual void Started(const std::vector<std::string>& words, bool prelaunch) = 0;

    /// The program is asked to end: the session ends or a signal came.
    virtual void EndRequested() = 0;

    /// The machine is about to sleep; `done` is called (any thread) when it may.
    virtual void SleepAnnounced(std::function<void()> done) = 0;

    /// The machine woke up.
    virtual void Woken() = 0;
};

/// A window system, a loop, and what belongs to the user.
class World {
  public:
    virtual ~World() = default;

    virtual EventLoop& Loop() = 0;

    /// Runs on the thread that calls it, which becomes the user-interface thread, until EventLoop::Quit;
    /// reports the first start when it is ready. A start that was handed to a program already running returns
    /// at once. Returns an exit status.
    virtual int Run(WorldClient& client) = 0;

    /// User-interface thread. The program's one window, not yet shown; null in a world without windows.
    virtual std::unique_ptr<WindowPeer> CreateWindow(WindowClient& client) = 0;

    /// User-interface thread. Throws a platform exception when there is no clipboard.
    virtual void SetClipboardText(std::u16string_view text) = 0;

    /// Speech and sound; lives as long as the world.
    virtual SpeechEngine& Speech() = 0;

    /// Any thread. The user's locale by the name that POSIX gives it ("en_US.UTF-8", "zh_TW", "C").
    virtual std::string LocaleName() = 0;

    /// Any thread. The user's display languages as BCP 47 tags, the preferred one first; never empty.
    virtual std::vector<std::u16string> Languages() = 0;

    /// Any thread.
    virtual ProcessorArchitecture Architecture() = 0;
};

/// The world in use; throws a platform exception when there is none.
World& CurrentWorld();

/// Makes `world` the one in use while the scope lives. Create and destroy it while no other thread uses the
/// layer.
class WorldScope {
  public:
    explicit WorldScope(World& world);
    ~WorldScope();
    WorldScope(const WorldScope&) = delete;
    WorldScope& operator=(const WorldScope&) = delete;
};

}  // namespace platform
