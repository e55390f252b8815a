#pragma once

#include <utility>

#include <glib-object.h>

/// Holds one reference to a GObject: `adopt` takes over a reference the caller owns,
/// `retain` adds one. The reference is dropped with the holder.
template <typename T>
class GObjectRef {
public:
    GObjectRef() = default;
    static GObjectRef adopt(T* object) { return GObjectRef(object); }
    static GObjectRef retain(T* object) { return GObjectRef(object ? static_cast<T*>(g_object_ref(object)) : nullptr); }

    GObjectRef(const GObjectRef& other) : m_object(other.m_object ? static_cast<T*>(g_object_ref(other.m_object)) : nullptr) {}
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
    T* release() { return std::exchange(m_object, nullptr); }

private:
    explicit GObjectRef(T* object) : m_object(object) {}
    T* m_object = nullptr;
};
