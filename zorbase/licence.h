#pragma once

#include <atomic>

// Which edition runs. The full edition refuses nothing; the trial edition refuses saving of filter results
// and exports. Any thread.
class LicenceManager {
  public:
    static LicenceManager& Get();
    bool IsTrial() const { return m_trial; }
    void SetTrial(bool trial) { m_trial = trial; }  // for tests and for the installer's trial build

  private:
    std::atomic<bool> m_trial = false;
};
