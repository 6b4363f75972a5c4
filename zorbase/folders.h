#pragma once

#include <functional>
#include <string>
#include <vector>

// What lies in folders. The one place that lists folders of the user's: it reads nothing but names and leaves access times alone where the
// system allows. Throws ZorException (kind File) with a text that names the folder and the system's reason, unless said otherwise.

// One entry of a folder. Links are not followed.
struct FolderEntry {
    enum class Kind { File, Folder, Link, Other };
    std::string name;
    Kind kind = Kind::Other;
    int folder = -1;  // the open folder, for as long as the entry is looked at
};
// Hands over the entries of a folder in the system's order, until `take` returns false. The folder's access time is left alone where the
// system allows.
void ForEachEntry(const std::string& folder, const std::function<bool(const FolderEntry&)>& take);
// The paths of the regular files in it, those that links lead to included, in the order of their bytes. Empty where it cannot be read.
std::vector<std::string> ListFiles(const std::string& folder);

// As OpenForReading (zorbase/files.h), for a name in a folder that is open, as FolderEntry hands it over.
int OpenInFolder(int folder, const std::string& name);
