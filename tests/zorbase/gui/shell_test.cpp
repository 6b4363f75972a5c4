#include "zorbase/gui/shell.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/gui/mapview.h"
#include "zorbase/gui/sizejson.h"
#include "zorbase/text.h"

namespace {

namespace fs = std::filesystem;

// Takes the place of the desktop as long as it lives.
class RecordedLaunches {
  public:
    explicit RecordedLaunches(bool answer = true) {
        SetShellLauncher([this, answer](const wxString& address) {
            m_addresses.push_back(FromWx(address));
            return answer;
        });
    }
    ~RecordedLaunches() { SetShellLauncher({}); }
    RecordedLaunches(const RecordedLaunches&) = delete;
    RecordedLaunches& operator=(const RecordedLaunches&) = delete;
    const std::vector<std::string>& Addresses() const { return m_addresses; }

  private:
    std::vector<std::string> m_addresses;
};

using Strings = std::vector<std::string>;

TEST(Shell, OpensTheFolderNeverTheFile) {
    const TemporaryFolder folder;
    const std::string name = folder / "caf\xE9 #1%;$(x)";
    WriteFile(name + "/evidence.jpg", std::string("x"));
    const std::string address = "file://" + folder.Path() + "/caf%E9%20%231%25%3B%24%28x%29";

    const RecordedLaunches launches;
    EXPECT_TRUE(OpenFileExplorer(PathToWx(name + "/evidence.jpg")));
    EXPECT_TRUE(OpenFileExplorer(PathToWx(name)));
    EXPECT_FALSE(OpenFileExplorer(PathToWx(name + "/absent")));
    EXPECT_FALSE(OpenFileExplorer(""));
    EXPECT_EQ(launches.Addresses(), (Strings{address, address}));
}

TEST(Shell, OpensLocalReportsAndWebPagesOnly) {
    const TemporaryFolder folder;
    WriteFile(folder / "report.html", std::string("<html>"));
    const RecordedLaunches launches;
    EXPECT_TRUE(LaunchDefaultBrowserLocalFile(PathToWx(folder / "report.html")));
    EXPECT_FALSE(LaunchDefaultBrowserLocalFile(PathToWx(folder / "absent.html")));
    EXPECT_FALSE(LaunchDefaultBrowserLocalFile(PathToWx(folder.Path())));
    EXPECT_TRUE(LaunchWebAddress("https://example.org/?a=b"));
    EXPECT_TRUE(LaunchWebAddress("http://!~"));
    for (const char* address :
         {"", "example.org", "file:///etc/passwd", "javascript:alert(1)", "--help", "https://a b",
          "https://a\nb", "https://caf\xC3\xA9", "https://a\x7F", "https:/a", "http:/a"}) {
        EXPECT_FALSE(LaunchWebAddress(ToWx(address))) << address;
    }
    EXPECT_EQ(launches.Addresses(),
              (Strings{"file://" + folder.Path() + "/report.html", "https://example.org/?a=b", "http://!~"}));
}

TEST(Shell, SaysWhenNothingCouldBeStarted) {
    const TemporaryFolder folder;
    {
        const RecordedLaunches launches(false);
        EXPECT_FALSE(OpenFileExplorer(PathToWx(folder.Path())));
        EXPECT_FALSE(LaunchWebAddress("https://example.org/"));
    }
    // One that lies there but is no program does not count.
    WriteFile(folder / "xdg-open", std::string("text"));
    fs::permissions(folder / "xdg-open", fs::perms::owner_read);
    // A desktop without the program that opens things.
    const ScopedVariable path("PATH", folder.Path().c_str());
    EXPECT_FALSE(OpenFileExplorer(PathToWx(folder.Path())));
}

TEST(MapView, ShowsPlacesOnEarth) {
    const RecordedLaunches launches;
    EXPECT_TRUE(MapView(48.858308, -2.2945).ShowOnMap());
    EXPECT_TRUE(MapView(-90, 180).ShowOnMap());
    EXPECT_TRUE(MapView(1e-9, 0).ShowOnMap());
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(MapView(90.0001, 0).ShowOnMap() || MapView(0, -180.5).ShowOnMap() ||
                 MapView(nan, 0).ShowOnMap() || MapView(0, nan).ShowOnMap());
    EXPECT_EQ(MapView(91, 0).GetAddress(), "");
    EXPECT_EQ(
        launches.Addresses(),
        (Strings{
            "https://www.openstreetmap.org/?mlat=48.858308&mlon=-2.294500#map=15/48.858308/-2.294500",
            "https://www.openstreetmap.org/?mlat=-90.000000&mlon=180.000000#map=15/-90.000000/180.000000",
            "https://www.openstreetmap.org/?mlat=0.000000&mlon=0.000000#map=15/0.000000/0.000000"}));
}

TEST(SizeJson, RefusesWhatIsNoSize) {
    wxSize size;
    ASSERT_TRUE(FromJson(ToJson(wxSize(640, -1)), size));
    EXPECT_EQ(size, wxSize(640, -1));
    ASSERT_TRUE(FromJson(JsonFromText(R"({"width":2147483647,"height":0})"), size));
    EXPECT_EQ(size, wxSize(2147483647, 0));
    ASSERT_TRUE(FromJson(ToJson(wxSize(-1, 480)), size));
    EXPECT_EQ(JsonToText(ToJson(size), 0), R"({"height":480,"width":-1})");
    size = wxSize(640, -1);
    for (const char* text : {"null", "[640,480]", R"({"width":640})", R"({"width":640,"height":-2})",
                             R"({"width":640.5,"height":480})", R"({"width":2147483648,"height":480})",
                             R"({"width":-2,"height":480})", R"({"width":1e12,"height":480})",
                             R"({"width":18446744073709551615,"height":480})"}) {
        EXPECT_FALSE(FromJson(JsonFromText(text), size)) << text;
    }
    EXPECT_EQ(size, wxSize(640, -1));
}

}  // namespace
