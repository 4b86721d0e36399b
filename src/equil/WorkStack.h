#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace kestrane {

/// Scratch space for numerical work: one allocation, from which arrays are taken like from a stack.
/// Arrays are given back together, when the Frame under which they were taken goes out of scope.
class WorkStack {
public:
    WorkStack() = default;
    explicit WorkStack(std::size_t capacity) : buffer_(capacity) {}

    /// An array of `count` doubles with undefined contents. LogicError if the space is used up.
    std::span<double> take(std::size_t count);
    std::size_t used() const { return top_; }
    std::size_t capacity() const { return buffer_.size(); }

    /// Gives back what was taken since it was built. Frames nest like scopes.
    class Frame {
    public:
        explicit Frame(WorkStack& stack) : stack_(stack), top_(stack.top_) {}
        ~Frame() { stack_.release(top_); }
        Frame(const Frame&) = delete;
        Frame& operator=(const Frame&) = delete;

    private:
        WorkStack& stack_;
        std::size_t top_;
    };

private:
    /// Debug builds fill the space with NaN, so that a stale read shows.
    void release(std::size_t top);

    std::vector<double> buffer_;
    std::size_t top_ = 0;
};

}  // namespace kestrane
