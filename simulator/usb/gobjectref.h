#pragma once

#include <glib-object.h>

#include <memory>

struct GObjectUnref
{
    void operator()(gpointer object) const { g_object_unref(object); }
};

/// One reference to a GObject, given back at the end.
template <typename T>
using GObjectRef = std::unique_ptr<T, GObjectUnref>;

/// What a callback gets as its data: the target lives for as long as the library may call it.
template <typename T>
struct CallbackTarget
{
    static gpointer keep(std::shared_ptr<T> target)
    {
        return new std::shared_ptr<T>(std::move(target));
    }
    static void release(gpointer kept) { delete static_cast<std::shared_ptr<T>*>(kept); }
    static T& get(gpointer kept) { return **static_cast<std::shared_ptr<T>*>(kept); }
};

template <typename T>
void connectSignal(gpointer object, const char* name, GCallback callback, std::shared_ptr<T> target)
{
    g_signal_connect_data(
        object, name, callback, CallbackTarget<T>::keep(std::move(target)),
        [](gpointer kept, GClosure*) { CallbackTarget<T>::release(kept); }, GConnectFlags(0));
}
