// The part of the main window that turns menu and tool commands into requests to the core.

#include <wx/arrstr.h>
#include <wx/filename.h>
#include <wx/translation.h>

#include "orvcore/facade/interface.h"
#include "orvcore/report/selftestrecord.h"
#include "orvgui/common/fileselectors.h"
#include "orvgui/common/icons.h"
#include "orvgui/common/language.h"
#include "orvgui/common/licencecheck.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/common/threeway.h"
#include "orvgui/common/webconsent.h"
#include "orvgui/dialogs/optionsgui.h"
#include "orvgui/dialogs/reportdialog.h"
#include "orvgui/dialogs/tooldialog.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/filepanel.h"
#include "orvgui/shell/filterspanel.h"
#include "orvgui/shell/frametexts.h"
#include "orvgui/shell/mainframe.h"
#include "orvgui/shell/projectgui.h"
#include "orvgui/viewer/annotationpanel.h"
#include "orvgui/viewer/viewerhost.h"
#include "zorbase/files.h"
#include "zorbase/gui/aboutdialog.h"
#include "zorbase/gui/shell.h"
#include "zorbase/gui/updatecheck.h"
#include "zorbase/text.h"

namespace {

// The labels of a chooser's filter ("label|pattern|label|pattern") in the user's language.
wxString TranslateFilterLabels(const wxString& filter) {
    wxArrayString parts = wxSplit(filter, '|', '\0');
    for (std::size_t i = 0; i < parts.size(); i += 2)
        if (!parts[i].empty()) parts[i] = wxGetTranslation(parts[i]);
    return wxJoin(parts, '|', '\0');
}

VecParameter FolderParameter(const wxString& folder) {
    return {Parameter::Path(ParameterType::Folder, "folder", "Folder", PathFromWx(folder))};
}

// Marks are no part of a result: only who wants them in the saved picture gets them there. False when nothing is to be saved.
bool AskAboutMarks(OrvFilterGui& page, const wxString& path, std::vector<OrvAnnotation>& marks) {
    auto* viewer = dynamic_cast<OrvViewerHost*>(&page);
    marks = viewer != nullptr ? DisplayedMarks(*viewer) : std::vector<OrvAnnotation>();
    const std::string extension = PathExtension(PathFromWx(path));
    const bool isTable =
        extension == "html" || extension == "htm" || extension == "tsv" || extension == "txt";
    if (marks.empty() || isTable) {
        marks.clear();
        return true;
    }
    const int answer = OrvThreeWayBox(
        &page, _("There are marks on this picture. Do you want to have them drawn into the saved file?"),
        _("Marks"), _("With Marks"), _("Without Marks"), _("Cancel"));
    if (answer != wxYES) marks.clear();
    return answer == wxYES || answer == wxNO;
}

}  // namespace

void OrvMainFrame::OnMenuFileOpen(wxCommandEvent& event) {
    GetFilePanel(event.GetId() == OrvCmdOpenEvidence ? OrvEvidence : OrvReference)->Browse();
}

void OrvMainFrame::OnMenuFileSaveResultAs(wxCommandEvent&) {
    if (!CheckLicence(LicenceManager::Command::SaveResult, this)) return;
    const wxString path = OrvFileSaveSelector(_("Select a file to save to..."), m_core->GetExportFilename(),
                                              TranslateFilterLabels(m_core->GetFilterFileSelectorString()));
    if (path.empty()) return;
    OrvFilter* filter = m_core->GetActiveFilter();
    if (filter && (m_core->HasFile(OrvEvidence) || m_core->HasFile(OrvReference))) {
        if (auto* page = dynamic_cast<OrvFilterGui*>(filter->GetAnalsyisFilterGui())) {
            const Image& image = page->GetDisplayedImage();
            std::vector<OrvAnnotation> marks;
            if (image.IsValid() && !AskAboutMarks(*page, path, marks)) return;
            if (image.IsValid()) m_core->SetImageToSave(image, marks);
        }
    }
    m_core->SaveFilterResult(path);
}

void OrvMainFrame::OnMenuFileExtractFromPdf(wxCommandEvent&) {
    const wxString path = OrvFileLoadSelector(_("Please select a PDF file to extract images from"),
                                              wxString(), _("PDF Files (*.pdf*)|*.pdf*"));
    if (path.empty()) return;
    const std::unique_ptr<OrvToolDialog> dialog(
        CreatePdfSettingsDialog(this, _("Extract Embedded Images From PDF")));
    if (dialog->ShowModal() == wxID_OK) m_core->DumpImagesFromPdf(path, dialog->GetParameters());
}

void OrvMainFrame::OnMenuFileDumpEmbeddedJpgs(wxCommandEvent&) {
    const wxString path = OrvFileLoadSelector(_("Please select a file to extract images from"), wxString(),
                                              _("All Files (*.*)|*.*"));
    if (!path.empty()) m_core->DumpEmbeddedJpgs(path);
}

void OrvMainFrame::OnMenuFileGenerateReport(wxCommandEvent&) {
    const wxString file = m_core->GetFilename(m_core->HasFile(OrvEvidence) ? OrvEvidence : OrvReference);
    // Without a picture the core tells what is missing.
    if (file.empty()) return m_core->GenerateReport();
    OrvReportWish wish;
    const wxString name = PathToWx(PathStem(PathFromWx(file)) + "-report");
    if (AskForReport(this, name, wish)) m_core->GenerateReport(wish.path, wish.contents);
}

void OrvMainFrame::OnMenuFileExit(wxCommandEvent&) {
    Close();
}

void OrvMainFrame::OnMenuViewProgramOptions(wxCommandEvent&) {
    const std::string language = LanguageOf(m_core->GetProgramOptions());
    {
        OrvOptionsGui dialog(this, m_core->GetProgramOptions());
        dialog.ShowModal();
    }
    m_filtersPanel->InitTreebook();
    if (LanguageOf(m_core->GetProgramOptions()) == language) return;
    // What is not saved is asked about first; who keeps working has the new language at the next start.
    const int answer = OrvQuestionBox(_("The language changes when the program starts anew."), _("Language"),
                                      _("Start Anew Now"), _("Later"), wxICON_QUESTION, this);
    if (answer != wxYES) return;
    AfterUnsavedWork([this] {
        m_isCloseSettled = true;
        ScheduleRestart();
        CallAfter([this] { Close(); });
    });
}

void OrvMainFrame::OnMenuHelpAbout(wxCommandEvent&) {
    bool restart = false;
    bool testsItself = false;
    CreateAboutDialog(this, m_version, GetIcon(), restart,
                      {ToWx(SelfTestSummary()), _("Run Self-Test"), &testsItself});
    if (testsItself) m_core->CallGenericAction(OrvActionSelfTest, _("Self-test"), {});
    if (!restart) return;
    ScheduleRestart();
    wxCloseEvent close(wxEVT_CLOSE_WINDOW, GetId());
    close.SetEventObject(this);
    OnCloseEvent(close);
}

void OrvMainFrame::OnMenuHelpCheckForUpdates(wxCommandEvent&) {
    CheckForUpdates(this, ToWx(m_version.GetUpdateAddress()), ToWx(m_version.GetChangesFile()),
                    ToWx(m_version.GetLastVersionFile()), ToWx(m_version.GetAppName()),
                    ToWx(m_version.GetRevision()), m_version.ShouldAllowDownloadOfUpdates());
}

void OrvMainFrame::OnMenuHelpOpenSamplesFolder(wxCommandEvent&) {
    const std::string folder = PathJoin(GetAppDocumentsPath(), "samples");
    if (FolderExists(folder) && OpenFileExplorer(PathToWx(folder))) return;
    OrvMessageBox(wxString::Format(_("The folder cannot be opened:\n%s"), ToWx(folder)), _("Error"),
                  wxOK | wxICON_ERROR, this);
}

void OrvMainFrame::OnMenuHelpProgramReferenceManual(wxCommandEvent&) {
    const wxChar separator = wxFileName::GetPathSeparator();
    const wxString path =
        PathToWx(GetAppDataPath()) + separator + "docs" + separator + "en" + separator + "orvane.pdf";
    // The explorer would show the folder only; the manual is to be read.
    if (!wxFileName::FileExists(path) || !LaunchDefaultBrowserLocalFile(path)) {
        OrvMessageBox(wxString::Format(_("The manual cannot be opened:\n%s"), path), _("Error"),
                      wxOK | wxICON_ERROR, this);
    }
}

void OrvMainFrame::OnToolAddBookmark(wxCommandEvent&) {
    if (m_projectTree) m_projectTree->AddBookmark();
}

void OrvMainFrame::RunToolDialog(OrvToolDialog* dialog, ToolKind kind, const wxString& name) {
    const std::unique_ptr<OrvToolDialog> owned(dialog);
    if (dialog->ShowModal() != wxID_OK) return;
    const VecParameter parameters = dialog->GetParameters();
    const OrvActionId action = ActionOfTool(kind, parameters);
    if (AskBeforeSending(this, *m_core, action, parameters))
        m_core->CallGenericAction(action, name, parameters);
}

void OrvMainFrame::OnCommandRequested(wxCommandEvent& event) {
    const int id = event.GetId();
    const wxString name = OrvGuiCommandRegistry::GetCommandName(id);
    const wxString translated = name.empty() ? name : wxGetTranslation(name);
    if (id != OrvCmdBatchAnalysis && !m_core->HasFile(OrvEvidence)) {
        OrvMessageBox(_("You need to load an evidence image first."), wxString(), wxOK, this);
        return;
    }
    const wxString evidenceFolder = wxPathOnly(m_core->GetFilename(OrvEvidence));
    switch (id) {
        case OrvCmdBatchProcessing:
            return RunToolDialog(CreateBatchProcessingDialog(this, name), ToolKind::BatchProcessing,
                                 translated);
        case OrvCmdCameraSearch:
        case OrvCmdCameraForensics:
            if (evidenceFolder.empty()) {
                OrvMessageBox(_("No Image Loaded"), wxString(), wxOK, this);
                return;
            }
            if (id == OrvCmdCameraSearch)
                return RunToolDialog(CreateFlickrSettingsDialog(this, translated), ToolKind::CameraSearch,
                                     translated);
            return RunToolDialog(CreateCameraForensicsDialog(this, name), ToolKind::CameraForensics,
                                 translated);
        case OrvCmdWebSearch:
            return RunToolDialog(CreateWebSearchDialog(this, translated), ToolKind::WebSearch, translated);
        case OrvCmdShowLocation:
            m_core->CallGenericAction(OrvActionShowLocation, translated, VecParameter());
            return;
        case OrvCmdBatchAnalysis: {
            wxString folder = evidenceFolder;
            if (folder.empty()) {
                folder = OrvDirSelector(_("Select the directory where the images to analyze are located"));
            }
            if (!folder.empty())
                m_core->CallGenericAction(OrvActionBatchAnalysis, translated, FolderParameter(folder));
            return;
        }
        case OrvCmdBatchComparison: {
            wxString folder = wxPathOnly(m_core->GetFilename(OrvReference));
            if (folder.empty()) {
                folder = OrvDirSelector(
                    _("Select the directory where the images to compare with the evidence are located"),
                    wxString(), _("Batch Comparison"));
            }
            if (!folder.empty())
                m_core->CallGenericAction(OrvActionBatchComparison, translated, FolderParameter(folder));
            return;
        }
        default:
            wxFAIL_MSG("false");
    }
}
