#include "platform/diagnostics/ImageRing.h"

#include <utility>

namespace platform {

void ImageRing::Add(etl::EventTraceImage image) {
    m_free.push_back(&m_images.emplace_back(image));
}

bool ImageRing::Append(const etl::Message& message, std::int64_t steady) {
    if (m_current == nullptr) {
        return false;
    }
    if (m_current->Append(message, steady)) {
        return true;
    }
    m_full.push_back(std::exchange(m_current, nullptr));
    return false;
}

void ImageRing::Begin(const etl::Message& first, std::int64_t fileTime, std::int64_t steady) {
    m_current = m_free.front();
    m_free.pop_front();
    m_current->Begin(first.Thread, first.Process, fileTime, steady);
}

void ImageRing::Close() {
    m_closed = true;
    if (m_current != nullptr) {
        m_full.push_back(std::exchange(m_current, nullptr));
        m_lastIsFull = true;
    }
}

bool ImageRing::IsWaitOver() const {
    return m_free.size() >= m_capacity / 2 || m_current != nullptr || m_closed;
}

ImageRing::Full ImageRing::FirstFull() const {
    return {
        .Image = m_full.front(), .IsLast = m_lastIsFull && m_full.size() == 1, .Lost = m_dropped - m_counted};
}

void ImageRing::Stored(const Full& full) {
    m_full.pop_front();
    m_free.push_back(full.Image);
    m_counted += full.Lost;
    m_stalled = false;
}

}  // namespace platform
