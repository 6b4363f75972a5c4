// The part of the folder table that reads files: the list of a folder, the worker threads, the progress.

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#include "orvcore/tables/tablemarkup.h"
#include "orvcore/tools/folder/foldertable.h"
#include "orvcore/tools/folder/thumbnail.h"
#include "zorbase/files.h"
#include "zorbase/folders.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr std::size_t kKeptBuffer = std::size_t{256} << 20;  // a larger one is given back after its file
constexpr auto kTick = std::chrono::milliseconds(40);

// Adds the regular files of one folder (also those that links lead to), and the folders in it.
void ListFolder(const std::string& folder, std::vector<std::string>& files, std::vector<std::string>& folders,
                const OrvJob& job) {
    using Kind = FolderEntry::Kind;
    ForEachEntry(folder, [&](const FolderEntry& entry) {
        job.CheckAbort();
        const std::string path = PathJoin(folder, entry.name);
        // A link that leads nowhere is a row that says so.
        struct stat facts {};
        const bool isLink = entry.kind == Kind::Link;
        const bool isFile = entry.kind == Kind::File ||
                            (isLink && (stat(path.c_str(), &facts) != 0 || S_ISREG(facts.st_mode)));
        if (isFile) files.push_back(path);
        if (entry.kind == Kind::Folder) folders.push_back(path);
        return true;
    });
}

void TakeHashes(const FileHashes& hashes, FileExamination& file) {
    file.sha256 = hashes.sha256;
    file.sha1 = hashes.sha1;
    file.md5 = hashes.md5;
}

class Scan {
  public:
    Scan(std::vector<std::string> files, const FolderScanOptions& options, const OrvJob& job)
        : m_files(std::move(files)),
          m_options(options),
          m_job(job),
          m_rows(m_files.size()),
          m_thumbnails(options.makesThumbnails ? std::min(m_files.size(), options.maximumThumbnails) : 0),
          m_thumbnailSide(FolderThumbnailSide(m_thumbnails.size(), options.thumbnailSide)) {}

    FolderTable Run() {
        const auto start = std::chrono::steady_clock::now();
        std::vector<std::jthread> threads;
        m_running = std::clamp(m_options.threads, 1, 64);
        for (int i = 0, count = m_running; i < count; ++i) threads.emplace_back([this] { Work(); });
        {
            std::unique_lock lock(m_mutex);
            while (!m_finished.wait_for(lock, kTick, [this] { return m_running == 0; })) {
                lock.unlock();
                // Throws when aborted; the threads see it as well and are waited for.
                TellProgress(std::chrono::steady_clock::now() - start);
                lock.lock();
            }
        }
        if (m_failure) std::rethrow_exception(m_failure);
        m_job.CheckAbort();
        return Collect();
    }

  private:
    void Work() {
        Bytes buffer;
        while (!m_job.IsAborted()) {
            const std::size_t i = m_next++;
            if (i >= m_files.size()) break;
            try {
                m_rows[i] = Examine(i, buffer);
            } catch (const std::exception&) {
                // Aborted, or without memory even for a row that says so.
                const std::lock_guard lock(m_mutex);
                m_failure = std::current_exception();
                m_next = m_files.size();
                break;
            }
            if (buffer.size() > kKeptBuffer) Bytes().swap(buffer);
            ++m_done;
        }
        {
            const std::lock_guard lock(m_mutex);
            --m_running;
        }
        m_finished.notify_all();
    }

    std::vector<std::string> Examine(std::size_t i, Bytes& buffer) {
        const std::string& path = m_files[i];
        FileExamination file;
        try {
            Sha256Stream sha256;
            bool hasChanged = false;
            const std::size_t size = ReadFileInto(
                path, buffer, m_options.maximumBytes,
                [&](auto piece) {
                    m_job.CheckAbort();
                    if (!m_options.allHashes) sha256.Add(piece);
                },
                &hasChanged);
            const auto bytes = std::span<const std::uint8_t>(buffer).first(size);
            file = ExamineFile(path, bytes);
            file.size = size;
            file.hasChanged = hasChanged;
            if (m_options.allHashes) {
                TakeHashes(ComputeHashes(bytes, [this](double) { m_job.CheckAbort(); }), file);
            } else {
                file.sha256 = sha256.Finish();
            }
            if (i < m_thumbnails.size()) m_thumbnails[i] = MakeThumbnail(bytes, m_thumbnailSide, m_job);
        } catch (const ZorException& exception) {
            if (exception.GetKind() == ZorException::Kind::Aborted) throw;
            file = Unread(path, exception.GetMessage());
        } catch (const std::exception& exception) {
            file = Unread(path, std::string("The file could not be examined: ") + exception.what() + ".");
        }
        if (const auto facts = GetFileFacts(path)) {
            file.modified = facts->modified;
            file.created = facts->created;
            if (!file.problem.empty()) file.size = facts->size;
        }
        std::vector<std::string> row = FolderTableRow(file);
        if (m_options.makesThumbnails && i >= m_thumbnails.size() && IsReadableFormat(file.format))
            NoteMissingThumbnail(row);
        return row;
    }

    static FileExamination Unread(const std::string& path, const std::string& problem) {
        FileExamination file;
        file.path = path;
        file.problem = problem;
        return file;
    }

    void TellProgress(std::chrono::duration<double> elapsed) const {
        const std::size_t done = m_done;
        const std::size_t count = m_files.size();
        const std::size_t shown = std::min(done, count - 1);
        std::string text = "File " + std::to_string(shown + 1) + " of " + std::to_string(count) + ": " +
                           ToValidUtf8(PathName(m_files[shown]));
        if (done > 0 && elapsed.count() > 1) {
            const double left =
                elapsed.count() / static_cast<double>(done) * static_cast<double>(count - shown);
            text += ", " + std::to_string(static_cast<long>(left + 1)) + " s left";
        }
        m_job.SetProgress(static_cast<double>(done) / static_cast<double>(count), text);
    }

    FolderTable Collect() {
        FolderTable result;
        result.table.reserve(m_rows.size() + 1);
        result.table.push_back(FolderTableLabels());
        for (std::size_t i = 0; i < m_rows.size(); ++i) {
            if (i < m_thumbnails.size() && m_thumbnails[i].IsValid()) {
                m_rows[i][0] = ThumbnailCell(static_cast<int>(result.thumbnails.size()));
                result.thumbnails.push_back(std::move(m_thumbnails[i]));
            }
            result.table.push_back(std::move(m_rows[i]));
        }
        MarkSameContent(result.table);
        return result;
    }

    const std::vector<std::string> m_files;
    const FolderScanOptions m_options;
    const OrvJob& m_job;
    TableString m_rows;
    std::vector<Image> m_thumbnails;
    const int m_thumbnailSide;
    std::atomic<std::size_t> m_next{0};
    std::atomic<std::size_t> m_done{0};
    std::mutex m_mutex;
    std::condition_variable m_finished;
    int m_running = 0;             // threads; guarded by m_mutex once they run, like what follows
    std::exception_ptr m_failure;  // of a thread that gave up
};

}  // namespace

std::vector<std::string> ListFolderFiles(const std::string& folder, bool includesSubfolders,
                                         std::vector<std::string>& problems, const OrvJob& job) {
    std::vector<std::string> files;
    std::vector<std::string> folders;
    ListFolder(folder, files, folders, job);
    while (includesSubfolders && !folders.empty()) {
        const std::string next = folders.back();
        folders.pop_back();
        try {
            ListFolder(next, files, folders, job);
        } catch (const ZorException& exception) {
            if (exception.GetKind() == ZorException::Kind::Aborted) throw;
            problems.push_back(exception.GetMessage());
        }
    }
    std::sort(files.begin(), files.end(), [](const std::string& a, const std::string& b) {
        // File by file within a folder, folder by folder.
        const int folderOrder = CompareNatural(PathFolder(a), PathFolder(b));
        return folderOrder != 0 ? folderOrder < 0 : CompareNatural(PathName(a), PathName(b)) < 0;
    });
    return files;
}

namespace {

FolderTable ScanWithAllColumns(const std::string& folder, const FolderScanOptions& options,
                               const OrvJob& job) {
    job.SetProgress(0.0, "Listing " + ToValidUtf8(folder));
    std::vector<std::string> problems;
    std::vector<std::string> files = ListFolderFiles(folder, options.includesSubfolders, problems, job);
    if (files.empty() && problems.empty())
        ZOR_THROW(File, "The folder \"" + ToValidUtf8(folder) + "\" holds no files.");
    FolderTable result =
        files.empty() ? FolderTable{{FolderTableLabels()}, {}} : Scan(std::move(files), options, job).Run();
    for (const std::string& problem : problems) {
        FileExamination unread;
        unread.problem = problem;
        result.table.push_back(FolderTableRow(unread));
    }
    return result;
}

}  // namespace

FolderTable ScanFolder(const std::string& folder, const FolderScanOptions& options, const OrvJob& job) {
    FolderTable result = ScanWithAllColumns(folder, options, job);
    if (!options.allHashes) DropExtraHashes(result.table);
    return result;
}

FolderTable CompareFolder(const std::string& folder, const OrvLoadedFile& evidence,
                          const FolderScanOptions& options, const OrvJob& job) {
    FolderTable result = ScanWithAllColumns(folder, options, job);
    FileExamination file = ExamineFile(evidence.GetPath(), evidence.GetBytes());
    file.size = evidence.GetBytes().size();
    file.sha256 = evidence.GetSha256();
    file.modified = evidence.GetFacts().modified;
    file.created = evidence.GetFacts().created;
    if (options.allHashes) TakeHashes(evidence.GetHashes(job), file);
    std::vector<std::string> row = FolderTableRow(file);
    if (options.makesThumbnails) {
        Image thumbnail = MakeThumbnail(evidence.GetBytes(), options.thumbnailSide, job);
        if (thumbnail.IsValid()) {
            row[0] = ThumbnailCell(static_cast<int>(result.thumbnails.size()));
            result.thumbnails.push_back(std::move(thumbnail));
        }
    }
    result.table = CompareWithEvidence(result.table, row);
    if (!options.allHashes) DropExtraHashes(result.table);
    return result;
}
