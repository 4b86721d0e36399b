#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace kestrane {

/// The count that all handles on one object share, with the way to delete it as it was made.
struct CountCell {
    int count;
    void* object;
    void (*destroy)(void*);
};

/// Deletes the object and its cell. Not inline: an optimizer that sees the deletion takes every
/// later look at a count for one that follows it, and warns.
void destroy_shared(CountCell* cell);

/// A counted handle on a T. All copies share one count cell; when the last copy goes, the object is
/// deleted if the handle owns it. Handles compare by object pointer and may be null.
/// Not thread safe: the program has one thread.
template <class T>
class PtrTo {
public:
    PtrTo() = default;
    PtrTo(std::nullptr_t) {}
    /// A handle that does not own: the caller keeps `object` alive.
    explicit PtrTo(T& object) : object_(&object) {}

    PtrTo(const PtrTo& other) noexcept : object_(other.object_), cell_(other.cell_) {
        if (cell_) ++cell_->count;
    }
    PtrTo(PtrTo&& other) noexcept
        : object_(std::exchange(other.object_, nullptr)),
          cell_(std::exchange(other.cell_, nullptr)) {}

    template <class S>
    requires(std::is_convertible_v<S*, T*> && !std::is_same_v<S, T>) PtrTo(const PtrTo<S>& other)
    noexcept : object_(other.object_), cell_(other.cell_) {
        if (cell_) ++cell_->count;
    }

    PtrTo& operator=(PtrTo other) noexcept {
        swap(other);
        return *this;
    }
    ~PtrTo() {
        if (cell_ && --cell_->count == 0) destroy_shared(cell_);
    }

    void swap(PtrTo& other) noexcept {
        std::swap(object_, other.object_);
        std::swap(cell_, other.cell_);
    }

    T* get() const { return object_; }
    T& operator*() const { return *object_; }
    T* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

    /// Number of handles that share the object; 0 for a handle that does not own.
    int use_count() const { return cell_ ? cell_->count : 0; }

    template <class S>
    bool operator==(const PtrTo<S>& other) const {
        return object_ == other.get();
    }
    bool operator==(std::nullptr_t) const { return object_ == nullptr; }

protected:
    /// Takes ownership of `object`, made by new (may be null).
    struct Own {};
    template <class S>
    PtrTo(S* object, Own) : object_(object) {
        if (object)
            cell_ = new CountCell{1, const_cast<std::remove_const_t<S>*>(object),
                                  [](void* p) { delete static_cast<std::remove_const_t<S>*>(p); }};
    }

private:
    template <class>
    friend class PtrTo;

    T* object_ = nullptr;
    CountCell* cell_ = nullptr;  ///< null if the handle does not own
};

/// A PtrTo that takes ownership of a new object.
template <class T>
class DynPtr : public PtrTo<T> {
public:
    DynPtr() = default;
    DynPtr(std::nullptr_t) {}
    explicit DynPtr(T* object) : PtrTo<T>(object, typename PtrTo<T>::Own{}) {}
    template <class S>
    requires(std::is_convertible_v<S*, T*> && !std::is_same_v<S, T>) DynPtr(const DynPtr<S>& other)
    noexcept : PtrTo<T>(other) {}
};

/// Makes an object and its owning handle.
template <class T, class... Args>
DynPtr<T> make_dyn(Args&&... args) {
    return DynPtr<T>(new T(std::forward<Args>(args)...));
}

}  // namespace kestrane
