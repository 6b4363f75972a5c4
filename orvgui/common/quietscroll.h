#pragma once

#include <vector>

#include "orvgui/common/orvgui.h"

class wxRect;
class wxWindow;
struct _GtkWidget;

// As long as it lives the hidden children of a window count as visible for the libraries below the toolkit, and are not drawn all the
// same. GUI thread.
class ORVGUI_API HiddenChildrenCount {
  public:
    explicit HiddenChildrenCount(const wxWindow& window);
    ~HiddenChildrenCount();
    HiddenChildrenCount(const HiddenChildrenCount&) = delete;
    HiddenChildrenCount& operator=(const HiddenChildrenCount&) = delete;

  private:
    std::vector<_GtkWidget*> m_hidden;
};

// A window that scrolls, with children of which some are hidden: the toolkit moves those with the rest, and the library below would
// complain of each.
template <typename Window>
class QuietScroll : public Window {
  public:
    using Window::Window;
    void ScrollWindow(int dx, int dy, const wxRect* rect = nullptr) override {
        const HiddenChildrenCount count(*this);
        Window::ScrollWindow(dx, dy, rect);
    }
};
