#include "orvgui/common/forwarding.h"

#include "zorbase/licence.h"

namespace {

bool IsKnown(int command) {
    return command == static_cast<int>(LicenceManager::Command::SaveResult) ||
           command == static_cast<int>(LicenceManager::Command::ExportTable);
}

}  // namespace

int OrvPaneStyle() {
    return static_cast<int>(LicenceManager::Get().GetEdition());
}

bool OrvPaneAccepts(int command) {
    return !IsKnown(command) || LicenceManager::Get().Allows(static_cast<LicenceManager::Command>(command));
}

const char* OrvPaneHint(int command) {
    return IsKnown(command) ? LicenceManager::GetRefusal(static_cast<LicenceManager::Command>(command)) : "";
}

const char* OrvPaneCaption() {
    return LicenceManager::Get().GetEditionName();
}
