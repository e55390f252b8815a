#pragma once

#include <memory>
#include <string>
#include <utility>

#include <glib-object.h>

/// Holds one reference to a GObject and drops it when it goes. `adopt` takes over a
/// reference the caller already owns (what a `*_new` or `*_query_*` call returns);
/// `retain` adds one of its own (for objects borrowed from a container).
template <typename T> class GObjectRef {
  public:
    GObjectRef() = default;
    static GObjectRef adopt(T* object) { return GObjectRef(object); }
    static GObjectRef retain(T* object) {
        if (object)
            g_object_ref(object);
        return GObjectRef(object);
    }

    GObjectRef(const GObjectRef& other) : m_object(other.m_object) {
        if (m_object)
            g_object_ref(m_object);
    }
    GObjectRef(GObjectRef&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    GObjectRef& operator=(GObjectRef other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~GObjectRef() {
        if (m_object)
            g_object_unref(m_object);
    }

    T* get() const { return m_object; }
    T* operator->() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }

  private:
    explicit GObjectRef(T* object) : m_object(object) {}
    T* m_object = nullptr;
};

struct GFreeDeleter {
    void operator()(void* memory) const { g_free(memory); }
};
/// A string that GLib allocated and the caller must g_free.
using GCharPtr = std::unique_ptr<char, GFreeDeleter>;

struct GErrorDeleter {
    void operator()(GError* error) const { g_error_free(error); }
};
using GErrorPtr = std::unique_ptr<GError, GErrorDeleter>;

/// The text of a GLib string, or "" for a null one.
inline std::string stringFromGChars(const GCharPtr& text) {
    return text ? std::string(text.get()) : std::string();
}
