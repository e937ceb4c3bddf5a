// The scoped owner of a message.
//
//     auto_destroy<TQAMessage> reply(TQAMsgFactory::createNew());
//     if (reply->create("packet") != 0) return nullptr;   // destroy() runs here
//     return reply.release();                             // ... and not here
#pragma once

// Owns one message (or nothing) and ends it with destroy(), never with delete.
template <class T>
class auto_destroy {
  public:
    // Takes over `pointer`, which may be null.
    auto_destroy(T* pointer = nullptr) noexcept : pointer_(pointer) {}
    auto_destroy(const auto_destroy&) = delete;
    auto_destroy& operator=(const auto_destroy&) = delete;
    ~auto_destroy() {
        if (pointer_ != nullptr) pointer_->destroy();
    }

    // Hands the message to the caller; this owner is empty afterwards.
    T* release() noexcept {
        T* released = pointer_;
        pointer_ = nullptr;
        return released;
    }

    // Kept: both operators give the pointer; it is null when nothing is owned.
    T* operator*() const noexcept { return pointer_; }
    T* operator->() const noexcept { return pointer_; }

  private:
    T* pointer_;
};
