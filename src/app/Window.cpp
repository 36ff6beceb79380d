#include "app/Window.h"

#include "app/LoggingWindow.h"

#include <atomic>

namespace pexi {

namespace {

std::atomic<Window *> installedWindow{nullptr};

} // namespace

Window &Window::shared()
{
    if (Window *window = installedWindow.load())
        return *window;
    static LoggingWindow fallback;
    return fallback;
}

void Window::setShared(Window *window)
{
    installedWindow.store(window);
}

} // namespace pexi
