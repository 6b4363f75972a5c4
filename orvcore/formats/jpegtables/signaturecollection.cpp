#include "orvcore/formats/jpegtables/signaturecollection.h"

#include <sqlite3.h>

#include <algorithm>

#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

// Marks the file as such a collection, so that no other program's database is written into.
constexpr int kApplicationId = 0x4F525653;
constexpr int kVersion = 1;
constexpr int kBusyMs = 5000;
constexpr std::size_t kMaxTextBytes = 16384;  // of one text from outside

constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS signature (id INTEGER PRIMARY KEY, key TEXT NOT NULL UNIQUE, text TEXT NOT NULL);"
    "CREATE TABLE IF NOT EXISTS writer (signature INTEGER NOT NULL REFERENCES signature(id), make TEXT NOT NULL,"
    " model TEXT NOT NULL, software TEXT NOT NULL, count INTEGER NOT NULL,"
    " PRIMARY KEY (signature, make, model, software)) WITHOUT ROWID;";

constexpr const char* kHeader = "Key\tMake\tModel\tSoftware\tPictures\tSignature";

std::string Limited(const std::string& text) {
    return ShortenText(ToValidUtf8(text), kMaxTextBytes);
}

// A cell as EscapeTsv wrote it, back.
std::string UnescapeTsv(const std::string& cell) {
    std::string text;
    for (std::size_t i = 0; i < cell.size(); ++i) {
        if (cell[i] != '\\' || i + 1 >= cell.size()) {
            text += cell[i];
            continue;
        }
        const char next = cell[++i];
        text += next == 't' ? '\t' : next == 'n' ? '\n' : next == 'r' ? '\r' : next;
    }
    // The apostrophe that keeps spreadsheets from calculating.
    if (!text.empty() && text[0] == '\'' && EscapeTsv(text.substr(1)) == cell) text.erase(0, 1);
    return text;
}

bool IsKey(const std::string& key) {
    return key.size() == 32 && std::all_of(key.begin(), key.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
           });
}

}  // namespace

class SignatureCollection::Implementation {
  public:
    explicit Implementation(const std::string& path) : m_path(path) {
        // An empty file would pass for an empty database and be written into; it may be anybody's.
        if (const auto facts = GetFileFacts(path); facts && facts->size == 0)
            ZOR_THROW(File, "The file " + ToValidUtf8(path) +
                                " is empty and no signature collection; it is left untouched.");
        if (sqlite3_open_v2(path.c_str(), &m_database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) !=
            SQLITE_OK) {
            const std::string reason = Reason();
            sqlite3_close(m_database);
            ZOR_THROW(File, "The signature collection " + ToValidUtf8(path) + " cannot be opened: " + reason);
        }
        try {
            sqlite3_busy_timeout(m_database, kBusyMs);
            Prepare();
        } catch (...) {
            sqlite3_close(m_database);
            throw;
        }
    }
    ~Implementation() { sqlite3_close(m_database); }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    class Statement {
      public:
        Statement(const Implementation& owner, const char* sql) : m_owner(owner) {
            if (sqlite3_prepare_v2(owner.m_database, sql, -1, &m_statement, nullptr) != SQLITE_OK)
                owner.Fail();
        }
        ~Statement() { sqlite3_finalize(m_statement); }
        Statement(const Statement&) = delete;
        Statement& operator=(const Statement&) = delete;

        Statement& Bind(int index, const std::string& text) {
            if (sqlite3_bind_text(m_statement, index, text.data(), static_cast<int>(text.size()),
                                  SQLITE_TRANSIENT) != SQLITE_OK)
                m_owner.Fail();
            return *this;
        }
        Statement& Bind(int index, std::int64_t number) {
            if (sqlite3_bind_int64(m_statement, index, number) != SQLITE_OK) m_owner.Fail();
            return *this;
        }
        // True while there is a row.
        bool Step() {
            const int code = sqlite3_step(m_statement);
            if (code != SQLITE_ROW && code != SQLITE_DONE) m_owner.Fail();
            return code == SQLITE_ROW;
        }
        void Run() {
            while (Step()) {
            }
            sqlite3_reset(m_statement);
        }
        std::string Text(int column) const {
            const unsigned char* text = sqlite3_column_text(m_statement, column);
            return text == nullptr
                       ? std::string()
                       : std::string(reinterpret_cast<const char*>(text),
                                     static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column)));
        }
        std::int64_t Number(int column) const { return sqlite3_column_int64(m_statement, column); }

      private:
        const Implementation& m_owner;
        sqlite3_stmt* m_statement = nullptr;
    };

    // Undone unless it was kept.
    class Change {
      public:
        explicit Change(const Implementation& owner) : m_owner(owner) { owner.Execute("BEGIN IMMEDIATE"); }
        ~Change() {
            if (!m_isKept) sqlite3_exec(m_owner.m_database, "ROLLBACK", nullptr, nullptr, nullptr);
        }
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;
        void Keep() {
            m_owner.Execute("COMMIT");
            m_isKept = true;
        }

      private:
        const Implementation& m_owner;
        bool m_isKept = false;
    };

    void Execute(const char* sql) const {
        if (sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr) != SQLITE_OK) Fail();
    }

    std::int64_t Single(const char* sql) const {
        Statement statement(*this, sql);
        return statement.Step() ? statement.Number(0) : 0;
    }

  private:
    std::string Reason() const { return m_database == nullptr ? "no memory" : sqlite3_errmsg(m_database); }
    [[noreturn]] void Fail() const {
        ZOR_THROW(File, "The signature collection " + ToValidUtf8(m_path) + ": " + Reason());
    }

    void Prepare() const {
        const bool isEmpty = Single("SELECT count(*) FROM sqlite_schema") == 0;
        if (!isEmpty && Single("PRAGMA application_id") != kApplicationId)
            ZOR_THROW(File, "The file " + ToValidUtf8(m_path) +
                                " is a database of another program and is left untouched.");
        if (!isEmpty && Single("PRAGMA user_version") > kVersion)
            ZOR_THROW(File,
                      "The signature collection " + ToValidUtf8(m_path) + " was made by a newer version.");
        if (!isEmpty) return;
        Change change(*this);
        Execute(kSchema);
        Execute(("PRAGMA application_id = " + std::to_string(kApplicationId)).c_str());
        Execute(("PRAGMA user_version = " + std::to_string(kVersion)).c_str());
        change.Keep();
    }

    std::string m_path;
    sqlite3* m_database = nullptr;
};

SignatureCollection::SignatureCollection(const std::string& path)
    : m(std::make_unique<Implementation>(path)) {}

SignatureCollection::~SignatureCollection() = default;

void SignatureCollection::Add(const std::vector<SignatureRecord>& records) {
    Implementation::Change change(*m);
    Implementation::Statement signature(
        *m, "INSERT INTO signature (key, text) VALUES (?1, ?2) ON CONFLICT (key) DO NOTHING");
    Implementation::Statement writer(
        *m,
        "INSERT INTO writer (signature, make, model, software, count) VALUES ((SELECT id FROM signature WHERE key = ?1), ?2, ?3,"
        " ?4, ?5) ON CONFLICT (signature, make, model, software) DO UPDATE SET count = count + excluded.count");
    for (const SignatureRecord& record : records) {
        if (!IsKey(record.key)) ZOR_THROW(Argument, "A signature's key has 32 digits of base 16.");
        signature.Bind(1, record.key).Bind(2, Limited(record.signature)).Run();
        writer.Bind(1, record.key)
            .Bind(2, Limited(record.make))
            .Bind(3, Limited(record.model))
            .Bind(4, Limited(record.software))
            .Bind(5, std::clamp<std::int64_t>(record.count, 1, std::int64_t{1} << 40))
            .Run();
    }
    change.Keep();
}

std::vector<SignatureRecord> SignatureCollection::Find(const std::string& key) const {
    Implementation::Statement statement(
        *m,
        "SELECT s.key, s.text, w.make, w.model, w.software, w.count FROM signature s JOIN writer w ON w.signature = s.id"
        " WHERE s.key = ?1 ORDER BY w.count DESC, w.make, w.model, w.software");
    statement.Bind(1, key);
    std::vector<SignatureRecord> records;
    while (statement.Step())
        records.push_back({statement.Text(0), statement.Text(1), statement.Text(2), statement.Text(3),
                           statement.Text(4), statement.Number(5)});
    return records;
}

std::int64_t SignatureCollection::CountRecords() const {
    return m->Single("SELECT count(*) FROM writer");
}

std::int64_t SignatureCollection::CountPictures() const {
    return m->Single("SELECT total(count) FROM writer");
}

void SignatureCollection::Export(const std::function<void(const std::string& line)>& sink) const {
    sink(kHeader);
    Implementation::Statement statement(
        *m,
        "SELECT s.key, w.make, w.model, w.software, w.count, s.text FROM signature s JOIN writer w ON w.signature = s.id"
        " ORDER BY s.key, w.make, w.model, w.software");
    while (statement.Step()) {
        std::string line;
        for (int column = 0; column < 6; ++column)
            line += (column == 0 ? "" : "\t") + EscapeTsv(statement.Text(column));
        sink(line);
    }
}

std::int64_t SignatureCollection::Import(const std::string& tsv, std::int64_t* refused) {
    std::vector<SignatureRecord> records;
    std::int64_t bad = 0;
    for (std::size_t at = 0; at < tsv.size();) {
        const std::size_t end = std::min(tsv.find('\n', at), tsv.size());
        std::string line = tsv.substr(at, end - at);
        at = end + 1;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line == kHeader) continue;
        const std::vector<std::string> cells = StringToVecString(line, "\t");
        std::int64_t count = 0;
        if (cells.size() != 6 || !IsKey(cells[0]) || !FromString(cells[4], count) || count < 1) {
            ++bad;
            continue;
        }
        records.push_back({cells[0], UnescapeTsv(cells[5]), UnescapeTsv(cells[1]), UnescapeTsv(cells[2]),
                           UnescapeTsv(cells[3]), count});
    }
    Add(records);
    if (refused != nullptr) *refused = bad;
    return static_cast<std::int64_t>(records.size());
}
