#pragma once

// The images of a live file: which is free, which is being filled, which are full and wait to be stored; and
// how many messages found no image. No thread, no clock, no lock: the owner guards it.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "platform/diagnostics/EventTraceImage.h"

namespace platform {

class ImageRing {
  public:
    /// For `capacity` images.
    explicit ImageRing(std::size_t capacity) : m_capacity(capacity) { m_images.reserve(capacity); }
    ImageRing(const ImageRing&) = delete;
    ImageRing& operator=(const ImageRing&) = delete;

    /// Adds a prepared image, which is free. There are fewer than `capacity`.
    void Add(etl::EventTraceImage image);
    std::size_t Size() const { return m_images.size(); }
    bool IsComplete() const { return m_images.size() == m_capacity; }

    /// Copies the message into the current image. False when there is none, or when the message does not fit:
    /// then the image is full, and there is no current one.
    bool Append(const etl::Message& message, std::int64_t steady);

    /// True when there is no current image, but a free one.
    bool CanBegin() const { return m_current == nullptr && !m_free.empty(); }

    /// Makes a free image the current one; `first`, which goes into it next, names its process and thread.
    void Begin(const etl::Message& first, std::int64_t fileTime, std::int64_t steady);

    /// Counts a message that found no image.
    void Drop() { ++m_dropped; }

    /// The current image is full, and the last one.
    void Close();
    bool IsClosed() const { return m_closed; }

    /// A message that finds no image may wait for one, unless another has waited in vain since one was
    /// stored.
    bool MayWait() const { return !m_stalled && !m_closed; }
    void WaitedInVain() { m_stalled = true; }

    /// Those that wait go on when half of the images are free: they wait seldom instead of for each image.
    bool IsWaitOver() const;

    /// An image to be stored.
    struct Full {
        etl::EventTraceImage* Image;
        /// There is nothing to be stored after it.
        bool IsLast;
        /// Messages that were dropped and not counted by a file; this file counts them.
        std::uint64_t Lost;
    };

    bool HasFull() const { return !m_full.empty(); }
    /// The one that has been full for longest. It is left alone until Stored.
    Full FirstFull() const;
    /// The image has been stored and prepared again; it is free.
    void Stored(const Full& full);

    /// Messages dropped since the start, and those of them that files count.
    std::uint64_t Dropped() const { return m_dropped; }
    std::uint64_t Counted() const { return m_counted; }

  private:
    const std::size_t m_capacity;
    std::vector<etl::EventTraceImage> m_images;
    etl::EventTraceImage* m_current = nullptr;
    std::deque<etl::EventTraceImage*> m_free;
    std::deque<etl::EventTraceImage*> m_full;
    bool m_stalled = false;
    bool m_closed = false;
    bool m_lastIsFull = false;
    std::uint64_t m_dropped = 0;
    std::uint64_t m_counted = 0;
};

}  // namespace platform
