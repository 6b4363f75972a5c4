#pragma once

#include <vector>

#include "orvgui/common/orvgui.h"

class wxRect;
class wxWindow;
struct _GtkWidget;

// As long as it lives everything hidden in a window, at any depth, counts as visible for the libraries below the toolkit, and is not
// drawn all the same. GUI thread.
class ORVGUI_API HiddenChildrenCount {
  public:
    explicit HiddenChildrenCount(const wxWindow& window);
    ~HiddenChildrenCount();
    HiddenChildrenCount(const HiddenChildrenCount&) = delete;
    HiddenChildrenCount& operator=(const HiddenChildrenCount&) = delete;

  private:
    struct Hidden {
        _GtkWidget* widget;
        bool isWanted;  // on the screen, as soon as it is shown
    };
    std::vector<Hidden> m_hidden;
};

// A window that scrolls, and in which something is hidden: the toolkit moves that with the rest, and the library below would complain
// of each.
template <typename Window>
class QuietScroll : public Window {
  public:
    using Window::Window;
    void ScrollWindow(int dx, int dy, const wxRect* rect = nullptr) override {
        const HiddenChildrenCount count(*this);
        Window::ScrollWindow(dx, dy, rect);
    }
};
