#pragma once

#include "orvgui/controls/parametercontrolentry.h"

class wxButton;

// Files and folders. A path keeps its bytes, whatever they are. GUI thread.

// A file, shown by its name and chosen with the "Browse" button. fileType is the chooser's filter; save
// chooses a file to write.
class ParameterControlInputFilename : public ParameterControlEntry {
  public:
    ParameterControlInputFilename(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter,
                                  const std::string& fileType, bool save);

    void OnButtonBrowse(wxCommandEvent& event);
    wxButton* GetButtonBrowse() const { return m_buttonBrowse; }

  protected:
    enum class Shown { Name, FullPath };
    ParameterControlInputFilename(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter,
                                  const std::string& fileType, bool save, Shown shown);
    wxString FormatText(const Parameter& parameter) const override;
    bool ParseText(const wxString& text, Parameter& parameter) const override;
    // Asks for a path; empty when the user cancels.
    virtual wxString Choose(const wxString& path);

  private:
    wxButton* m_buttonBrowse = nullptr;
    wxString m_fileType;
    bool m_save;
    Shown m_shown;
};

// A file whose full path is shown and can be typed.
class ParameterControlInputFilenameFullPath : public ParameterControlInputFilename {
  public:
    ParameterControlInputFilenameFullPath(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter,
                                          const std::string& fileType, bool save)
        : ParameterControlInputFilename(parent, sizer, parameter, fileType, save, Shown::FullPath) {}
};

class ParameterControlInputFolder : public ParameterControlInputFilename {
  public:
    ParameterControlInputFolder(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter)
        : ParameterControlInputFilename(parent, sizer, parameter, std::string(), false, Shown::FullPath) {}

  protected:
    wxString Choose(const wxString& path) override;
};
