#pragma once

#include <glib-object.h>

#include <memory>

struct Release {
    void operator()(char* text) const { g_free(text); }
    template <typename T>
    void operator()(T* object) const {
        g_object_unref(object);
    }
};
/// A text or an object of GLib.
template <typename T>
using Held = std::unique_ptr<T, Release>;
