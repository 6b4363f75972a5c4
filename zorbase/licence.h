#pragma once

#include <atomic>

// Which edition of the program runs, and what it allows. Any thread.
class LicenceManager {
  public:
    // The full edition refuses nothing; the trial edition refuses what takes results out of the program.
    enum class Edition { Full, Trial };
    enum class Command { SaveResult, ExportTable };

    static LicenceManager& Get();
    // The edition that this program was built as: full, unless the build asked for a trial (option ORVANE_TRIAL).
    static Edition GetBuiltEdition();

    Edition GetEdition() const { return m_edition; }
    bool IsTrial() const { return m_edition == Edition::Trial; }
    bool Allows(Command command) const;
    // What the user is told of a command that is refused, untranslated.
    static const char* GetRefusal(Command command);
    const char* GetEditionName() const;  // "full edition", "trial edition"; untranslated

    // Another edition than the built one, for tests.
    void SetEdition(Edition edition) { m_edition = edition; }

  private:
    LicenceManager() : m_edition(GetBuiltEdition()) {}

    std::atomic<Edition> m_edition;
};
