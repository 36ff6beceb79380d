#pragma once

#include <memory>
#include <utility>
#include <vector>

// What a screen uses while it is on show (a temporary vault, its services), freed once its
// pictures are taken.
class ScreenshotContext
{
public:
    template <class T, class... Args> T &keep(Args &&...args)
    {
        auto kept = std::make_shared<T>(std::forward<Args>(args)...);
        m_kept.push_back(kept);
        return *kept;
    }

private:
    std::vector<std::shared_ptr<void>> m_kept;
};
