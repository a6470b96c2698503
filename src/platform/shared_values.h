#pragma once
// Values that several threads share without a lock. All of them can be copied and assigned, so that a record that
// holds them goes back to its start values by one assignment.

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <type_traits>

// A plain number, enumeration or bool that other threads read as it happens to be: relaxed order, the cost of a
// plain load or store. It orders nothing else.
template <class T> class Relaxed {
  public:
    constexpr Relaxed(T start = T{}) : inner(start) {}
    Relaxed(const Relaxed& other) : inner(other.load()) {}
    Relaxed& operator=(const Relaxed& other) { return *this = other.load(); }
    Relaxed& operator=(T value) {
        inner.store(value, std::memory_order_relaxed);
        return *this;
    }
    operator T() const { return load(); }
    T load() const { return inner.load(std::memory_order_relaxed); }
    T exchange(T value) { return inner.exchange(value, std::memory_order_relaxed); }
    Relaxed& operator+=(T value) { // atomic: several threads may count
        inner.fetch_add(value, std::memory_order_relaxed);
        return *this;
    }

  private:
    std::atomic<T> inner;
};

// A flag that publishes: what a thread wrote before set() is seen by a thread that has seen it set.
class Flag {
  public:
    constexpr Flag(bool start = false) : inner(start) {}
    Flag(const Flag& other) : inner(other.isSet()) {}
    Flag& operator=(const Flag& other) {
        inner.store(other.isSet());
        return *this;
    }
    bool isSet() const { return inner.load(); }
    explicit operator bool() const { return isSet(); }
    void set() { inner.store(true); }
    void set(bool value) { inner.store(value); }
    void clear() { inner.store(false); }
    bool take() { return inner.exchange(false); }  // a request: true once per set()
    bool raise() { return !inner.exchange(true); } // true for the thread that set it

  private:
    std::atomic<bool> inner;
};

// A small plain record published as a whole by one writer at a time; a reader never sees halves of two states.
template <class T> class SeqLocked {
    static_assert(std::is_trivially_copyable_v<T>);
    static constexpr std::size_t words = (sizeof(T) + 7) / 8;

  public:
    SeqLocked(const T& start = T{}) { store(start); }
    SeqLocked(const SeqLocked& other) { store(other.load()); }
    SeqLocked& operator=(const SeqLocked& other) {
        store(other.load());
        return *this;
    }
    void store(const T& value) {
        std::array<std::uint64_t, words> raw{};
        std::memcpy(raw.data(), &value, sizeof(T));
        const auto before = sequence.load(std::memory_order_relaxed);
        sequence.store(before + 1, std::memory_order_seq_cst); // odd: a write is under way
        for (std::size_t i = 0; i < words; ++i) data[i].store(raw[i], std::memory_order_seq_cst);
        sequence.store(before + 2, std::memory_order_seq_cst);
    }
    T load() const {
        std::array<std::uint64_t, words> raw;
        for (;;) {
            const auto before = sequence.load(std::memory_order_seq_cst);
            for (std::size_t i = 0; i < words; ++i) raw[i] = data[i].load(std::memory_order_seq_cst);
            if (before % 2 == 0 && sequence.load(std::memory_order_seq_cst) == before) break;
        }
        T value;
        std::memcpy(static_cast<void*>(&value), raw.data(), sizeof(T));
        return value;
    }

  private:
    std::atomic<std::uint32_t> sequence{0};
    std::array<std::atomic<std::uint64_t>, words> data{};
};
