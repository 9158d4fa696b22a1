#include <zun/files/AFile.h>
#include <zun/files/CallTrace.h>
#include <zun/text/ACharString.h>

#include <cerrno>
#include <string>

namespace {

constexpr wchar_t const group[] = L"File";

/// Holds a stream for several unlocked calls.
class StreamLock {
public:
    explicit StreamLock(std::FILE* stream) : m_stream(stream) { flockfile(m_stream); }
    StreamLock(StreamLock const&) = delete;
    StreamLock& operator=(StreamLock const&) = delete;
    ~StreamLock() { funlockfile(m_stream); }

private:
    std::FILE* m_stream;
};

} // namespace

AFile::~AFile() {
    close();
}

void AFile::close() {
    if (m_stream)
        std::fclose(m_stream);
    m_stream = nullptr;
    m_path = L"";
}

bool AFile::open(bool complainIfMissing, AString const& path) {
    AString const newPath(path);
    close();
    m_path = newPath;
    CallTrace const trace(group, L"fopen", L"r", m_path);
    m_stream = std::fopen(ACharString(static_cast<wchar_t const*>(m_path)), "re");
    if (m_stream)
        return true;
    if (complainIfMissing || errno != ENOENT)
        logErrno(group);
    return false;
}

bool AFile::openWrite(AString const& path, bool append) {
    AString const newPath(path);
    close();
    m_path = newPath;
    CallTrace const trace(group, L"fopen", append ? L"a" : L"w", m_path);
    m_stream = std::fopen(ACharString(static_cast<wchar_t const*>(m_path)), append ? "ae" : "we");
    return !logErrnoIf(group, !m_stream);
}

bool AFile::openAlways(AString const& path) {
    return openWrite(path, false);
}

/// What follows needs a stream.
bool AFile::requireOpen() const {
    if (m_stream)
        return true;
    errno = EBADF;
    logErrno(group);
    return false;
}

bool AFile::readLine(AString& line) {
    std::wstring& text = line.cpp_str();
    text.clear();
    CallTrace const trace(group, L"getc", m_path);
    if (!requireOpen())
        return false;
    StreamLock const lock(m_stream);
    for (int c; (c = getc_unlocked(m_stream)) != EOF;) {
        if (c == '\n')
            return true;
        if (c != 0 && c < 0x80) // a character of its own in every locale
            text += static_cast<wchar_t>(c);
        else
            line << static_cast<char>(c);
    }
    if (logErrnoIf(group, std::ferror(m_stream) != 0))
        return false;
    return !text.empty();
}

bool AFile::writeLine(AString const& line) {
    if (!requireOpen())
        return false;
    ACharString const narrow(static_cast<wchar_t const*>(line));
    bool const failed = std::fputs(narrow, m_stream) == EOF || std::fputs("\n", m_stream) == EOF ||
                        std::fflush(m_stream) == EOF;
    return !logErrnoIf(group, failed);
}

bool AFile::seek(int origin) {
    CallTrace const trace(group, L"fseek", origin, m_path);
    return requireOpen() && !logErrnoIf(group, std::fseek(m_stream, 0, origin) != 0);
}

bool AFile::seekBegin() {
    return seek(SEEK_SET);
}

bool AFile::seekEnd() {
    return seek(SEEK_END);
}

bool AFile::read(ABuffer& into) {
    if (!seekEnd())
        return false;
    CallTrace trace(group, L"ftell", m_path);
    long const size = std::ftell(m_stream);
    if (logErrnoIf(group, size == -1) || !seekBegin())
        return false;
    auto const wanted = static_cast<unsigned long>(size);
    if (!into.tryAllocate(wanted))
        return false;
    trace.change(L"fread", m_path);
    errno = EIO; // what a file that has become shorter is reported as
    if (std::fread(into.cpp_str().data(), 1, wanted, m_stream) == wanted)
        return into.checkAllocation();
    logErrno(group);
    return false;
}

bool AFile::writeBytes(unsigned char const* bytes, unsigned long count) {
    CallTrace const trace(group, L"fwrite", std::to_wstring(count).c_str(), m_path);
    if (!requireOpen())
        return false;
    bool const written = std::fwrite(bytes, 1, count, m_stream) == count && std::fflush(m_stream) == 0;
    return !logErrnoIf(group, !written);
}

bool AFile::write(unsigned char const* bytes, int count) {
    if (count >= 0)
        return writeBytes(bytes, static_cast<unsigned long>(count));
    CallTrace const trace(group, L"fwrite", count, m_path);
    errno = EINVAL;
    logErrno(group);
    return false;
}

bool AFile::write(ABuffer const& data) {
    return writeBytes(data.getBytes(), data.size());
}

bool AFile::read(bool complainIfMissing, AString const& path, ABuffer& into) {
    AFile file;
    return file.open(complainIfMissing, path) && file.read(into);
}

bool AFile::write(AString const& path, unsigned char const* bytes, int count) {
    AFile file;
    return file.openAlways(path) && file.write(bytes, count);
}

bool AFile::write(AString const& path, ABuffer const& data) {
    AFile file;
    return file.openAlways(path) && file.write(data);
}
