#pragma once
// The position stream of an aircraft: a double-ended queue of points in one block of memory that grows and never
// shrinks, so that a Tick does not allocate. Places count from the front.

#include "feed/feed.h"

#include <cstddef>
#include <stdexcept>
#include <vector>

class PointStream {
  public:
    bool empty() const { return used == 0; }
    std::size_t size() const { return used; }

    // A place beyond the end is a programming error.
    StreamPoint& operator[](std::size_t place) {
        if (place >= used) throw std::runtime_error("invalid deque<T> subscript");
        return ring[(first + place) & (ring.size() - 1)];
    }
    const StreamPoint& operator[](std::size_t place) const { return const_cast<PointStream&>(*this)[place]; }
    StreamPoint& front() { return (*this)[0]; }
    StreamPoint& second() { return (*this)[1]; }
    StreamPoint& back() { return (*this)[used - 1]; }
    const StreamPoint& front() const { return (*this)[0]; }
    const StreamPoint& back() const { return (*this)[used - 1]; }

    void pushBack(const StreamPoint& point) {
        const StreamPoint copy = point; // it may lie in the ring
        grow();
        ring[(first + used++) & (ring.size() - 1)] = copy;
    }
    void pushFront(const StreamPoint& point) {
        const StreamPoint copy = point;
        grow();
        first = (first + ring.size() - 1) & (ring.size() - 1);
        ring[first] = copy;
        ++used;
    }
    void popFront() {
        front();
        first = (first + 1) & (ring.size() - 1);
        --used;
    }
    void popBack() {
        back();
        --used;
    }
    void insertAt(std::size_t place, const StreamPoint& point) { // before that place
        pushBack(point);
        for (std::size_t i = used - 1; i > place; --i) std::swap((*this)[i], (*this)[i - 1]);
    }
    void eraseAt(std::size_t place) {
        for (std::size_t i = place; i + 1 < used; ++i) (*this)[i] = (*this)[i + 1];
        popBack();
    }
    void cutToFront() { // points are dropped at the back until 1 remains
        while (used > 1) popBack();
    }
    void clear() { used = 0; }

  private:
    static constexpr std::size_t startSize = 32; // a power of two; a few dozen points are ordinary
    void grow() {
        if (used < ring.size()) return;
        std::vector<StreamPoint> larger(ring.empty() ? startSize : 2 * ring.size());
        for (std::size_t i = 0; i < used; ++i) larger[i] = (*this)[i];
        ring.swap(larger);
        first = 0;
    }
    std::vector<StreamPoint> ring;
    std::size_t first = 0, used = 0;
};
