#pragma once

/// \file
/// The container that carries a record into or out of a component.
///
/// Its functions are templates and become part of each client. Clients and library therefore share its member order and
/// behaviour, which never change.

#include <cerrno>
#include <cstdint>
#include <functional>

#include "debug_handler.h"

namespace zarn {

/// Owns at most one record. It is filled once, and frees the record when it is destroyed. It checks only the size of a
/// record: it does not detect the wrong record of the same size, and using one record as another is undefined
/// behaviour.
///
/// Not synchronised: one thread may use it at a time. During a call, only the called component may use it.
class GenericPayload {
 public:
  /// An empty payload.
  GenericPayload() = default;

  GenericPayload(const GenericPayload&) = delete;
  GenericPayload& operator=(const GenericPayload&) = delete;
  GenericPayload(GenericPayload&&) = delete;
  GenericPayload& operator=(GenericPayload&&) = delete;

  /// Frees the record, but not what the record points to.
  ~GenericPayload();

  /// Fills an empty payload with one default-initialised `T`.
  /// \param[out] element the new record, owned by the payload and valid until the payload is destroyed; null after
  /// -114.
  /// \return 0, or -114 (EALREADY) if the payload already holds a record, which then stays unchanged.
  /// \throws std::bad_alloc if memory runs out.
  template <class T>
  int CreatePayload(T*& element);

  /// Returns the record.
  /// \param[out] element the record, owned by the payload and valid until the payload is destroyed; untouched on
  /// failure.
  /// \param[out] count number of records, always 1 in practice; untouched on failure.
  /// \return 0; -22 (EINVAL) if the payload is empty or the size of its record is not that of `T`; -12 (ENOMEM), with
  /// an Error in the debug log, if the size is right and the record is missing.
  template <class T>
  int GetPayload(T*& element, uint32_t& count) const;

  /// Fills an empty payload with a copy of `source`. The copy constructor of `T` makes the copy; it does not copy what
  /// a record points to.
  /// \return 0, or -114 (EALREADY) if the payload already holds a record, which then stays unchanged.
  /// \throws std::bad_alloc, or what the copy constructor throws.
  template <class T>
  int CopyPayload(const T& source);

 private:
  template <class T>
  void Own(T* element);

  uint32_t type_size_ = 0;
  void* payload_ = nullptr;
  uint32_t count_ = 0;
  std::function<void()> release_;
  bool copied_ = false;
};

inline GenericPayload::~GenericPayload() {
  if (payload_ != nullptr && release_) {
    release_();
  }
  type_size_ = 0;
  payload_ = nullptr;
  count_ = 0;
}

template <class T>
int GenericPayload::CreatePayload(T*& element) {
  if (payload_ != nullptr) {
    element = nullptr;
    return -EALREADY;
  }
  element = new T;
  Own(element);
  return 0;
}

template <class T>
int GenericPayload::GetPayload(T*& element, uint32_t& count) const {
  if (sizeof(T) != type_size_) {
    return -EINVAL;
  }
  if (payload_ == nullptr) {
    display::DebugHandler* const log = display::debug_handler_;
    if (log != nullptr) {
      log->Error("GenericPayload::%s:Payload was not properly%s", __func__,
                 copied_ ? "copied via CopyPayload" : "created via CreatePayload");
    }
    return -ENOMEM;
  }
  element = static_cast<T*>(payload_);
  count = count_;
  return 0;
}

template <class T>
int GenericPayload::CopyPayload(const T& source) {
  if (payload_ != nullptr) {
    return -EALREADY;
  }
  Own(new T(source));
  copied_ = true;
  return 0;
}

template <class T>
void GenericPayload::Own(T* element) {
  type_size_ = sizeof(T);
  count_ = 1;
  payload_ = element;
  release_ = [element] { delete element; };
}

}  // namespace zarn
