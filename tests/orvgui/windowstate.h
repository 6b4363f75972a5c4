#pragma once

#include <wx/treectrl.h>
#include <wx/window.h>

#include <string>
#include <vector>

// What windows show, a line for each shown control: place, size, state and text, entries and cells, and the weight of what a window
// paints by itself. For what is looked at once, kept beside its test and held against later. GUI thread.
class WindowState {
  public:
    // Texts with this folder in them stand as "a path", with a date as "a date".
    explicit WindowState(std::string folder) : m_folder(std::move(folder)) {}

    void Take(const std::string& name, const wxWindow* root) { Walk(name, root, 0); }
    // A line of the caller's own.
    void Add(const std::string& name, const std::string& text) {
        m_lines.push_back(name + '\t' + Plain(text));
    }
    const std::vector<std::string>& Lines() const { return m_lines; }

    // How panes share their column's height depends on the sizes that the window had before: of the window of this name they stand
    // without it.
    static constexpr const char* kWholeWindow = "window";

  private:
    std::string Plain(std::string text) const;
    void Walk(const std::string& name, const wxWindow* window, int depth);
    void TakeTree(const std::string& name, const wxTreeCtrl* tree, const wxTreeItemId& parent);

    std::string m_folder;
    std::vector<std::string> m_lines;
};

// What letters are drawn with: sizes and weights depend on it, and can be compared only where it is the same.
std::string DrawnWith(const wxWindow* window);
// Whether two lines agree: all words, what is painted within the given part of it.
bool IsSameState(const std::string& kept, const std::string& found, double tolerance);
