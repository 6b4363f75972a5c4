#pragma once

#include <string>

// The program's name, version and the addresses that go with it.
class AppVersion {
  public:
    AppVersion();

    const std::string& GetAppName() const { return m_appName; }    // "Orvane"
    const std::string& GetVersion() const { return m_version; }    // "0.1.0"
    const std::string& GetRevision() const { return m_revision; }  // of the source, "" when not known
    std::string GetFullName() const { return m_appName + " " + m_version; }

    // Where to look for updates; empty when this build has no update service.
    const std::string& GetUpdateAddress() const { return m_updateAddress; }
    const std::string& GetChangesFile() const { return m_changesFile; }
    const std::string& GetLastVersionFile() const { return m_lastVersionFile; }
    bool ShouldAllowDownloadOfUpdates() const { return m_allowDownload; }

  private:
    std::string m_appName;
    std::string m_version;
    std::string m_revision;
    std::string m_updateAddress;
    std::string m_changesFile;
    std::string m_lastVersionFile;
    bool m_allowDownload = false;
};

// True in the edition made for Japan, which hides some entries of the menus. $ORVANE_EDITION=jp.
bool ZorHasJapaneseCustomization();
