// Owners for COM interface pointers, BSTRs and VARIANTs, so that every early
// return releases what a COM call handed over.
#pragma once

#include <windows.h>
#include <oleauto.h>
#include <unknwn.h>

#include <utility>

namespace kvil {

template <typename Interface>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;
  ~ComPtr() { reset(); }

  Interface* get() const { return pointer_; }
  Interface* operator->() const { return pointer_; }
  explicit operator bool() const { return pointer_ != nullptr; }
  // For the out-parameter of a creating call; releases what was held first.
  Interface** put() {
    reset();
    return &pointer_;
  }
  void** put_void() { return reinterpret_cast<void**>(put()); }
  void reset() {
    if (pointer_ != nullptr) std::exchange(pointer_, nullptr)->Release();
  }

 private:
  Interface* pointer_ = nullptr;
};

// A BSTR allocated from wide text, or received from a call through put(); empty
// (null) when the allocation failed.
class UniqueBstr {
 public:
  UniqueBstr() = default;
  explicit UniqueBstr(const wchar_t* text) : bstr_(SysAllocString(text)) {}
  UniqueBstr(const UniqueBstr&) = delete;
  UniqueBstr& operator=(const UniqueBstr&) = delete;
  ~UniqueBstr() { SysFreeString(bstr_); }

  BSTR get() const { return bstr_; }
  explicit operator bool() const { return bstr_ != nullptr; }
  BSTR* put() {
    SysFreeString(std::exchange(bstr_, nullptr));
    return &bstr_;
  }

 private:
  BSTR bstr_ = nullptr;
};

// A VARIANT cleared on scope exit; made from wide text it holds a VT_BSTR.
class UniqueVariant {
 public:
  UniqueVariant() { VariantInit(&variant_); }
  explicit UniqueVariant(const wchar_t* text) : UniqueVariant() {
    V_VT(&variant_) = VT_BSTR;
    V_BSTR(&variant_) = SysAllocString(text);
  }
  UniqueVariant(const UniqueVariant&) = delete;
  UniqueVariant& operator=(const UniqueVariant&) = delete;
  ~UniqueVariant() { VariantClear(&variant_); }

  // For passing by value: the callee borrows the contents, the owner keeps them.
  const VARIANT& get() const { return variant_; }
  VARIANT* put() {
    VariantClear(&variant_);
    return &variant_;
  }

 private:
  VARIANT variant_;
};

}  // namespace kvil
