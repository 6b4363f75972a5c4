#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "zorbase/parameter.h"

// Where the services on the network are asked, and with which keys. Texts as the user entered them, without blanks
// around; "" what is missing.
struct OrvWebServices {
    std::string flickrAddress;
    std::string flickrKey;
    std::string googleAddress;
    std::string googleKey;
    std::string googleEngine;  // ID of the custom search engine
    std::string googlePictureAddress;
    std::string tinEyeAddress;
    std::string cameraForensicsAddress;
    bool allowsLocalDownloads = false;
};

// The program options: typed, with defaults, kept in settings/options.json, which only the user can read because it
// holds keys. Safe on any thread.
class OrvOptions {
  public:
    OrvOptions();

    static std::string Path();  // of the settings file

    // What the groups are about, in the order of Get; untranslated.
    static std::vector<std::string> GroupTitles();

    // Reads the settings file; what does not fit keeps its default and is told, without its value: one text each, none
    // when all was read or there is no file.
    std::vector<std::string> Load();
    void Save() const;  // throws ZorException (kind File)

    VecVecParameter Get() const;
    void Set(const VecVecParameter& options);

    bool IsCacheEnabled() const;
    std::uint64_t GetMaximumFileBytes() const;
    std::size_t GetMemoryBytes() const;  // 0: as the machine suggests
    std::uint64_t GetCacheBytes() const;
    int GetJpegQuality() const;
    bool OpensReports() const;
    int GetMapOpacity() const;            // percent
    std::string GetExaminer() const;      // where the case names none
    std::string GetOrganisation() const;  // at the head of reports, as the logo is
    std::string GetLogo() const;          // a picture file; "" none
    std::string GetReportFolder() const;  // never ""
    bool BatchIncludesSubfolders() const;
    bool BatchComputesAllHashes() const;
    OrvWebServices GetWebServices() const;

  private:
    template <typename T>
    T Value(const char* name) const;
    void TellTrust()
        const;  // who verifies credentials asks orvcore/model/trust.h, who looks for collections collections.h

    mutable std::mutex m_mutex;
    VecVecParameter m_groups;
};
