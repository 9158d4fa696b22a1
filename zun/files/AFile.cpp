#include <zun/files/AFile.h>
#include <zun/files/PlainText.h>
#include <zun/files/logReason.h>
#include <zun/linux/CallTrace.h>
#include <zun/platform/file/Permissions.h>
#include <zun/platform/file/Place.h>
#include <zun/platform/file/WholeFile.h>
#include <zun/text/ACharString.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace file = orvane_com::zun::file;

namespace {

constexpr wchar_t const group[] = L"File";

/// As fopen(3), but that it waits for no partner of a pipe. Null, with errno set and reasonFor it, on
/// failure.
std::FILE* openStream(AString const& path, int flags, char const* mode) {
    std::optional<file::Place> const place = file::Place::find(std::string(ACharString(path)));
    if (!place)
        return nullptr;
    file::FileDescriptor opened = place->open(file::Place::Kind::any, flags, file::newFileMode);
    std::FILE* const stream = opened.isOpen() ? fdopen(opened.get(), mode) : nullptr;
    if (stream)
        opened.release();
    return stream;
}

} // namespace

AFile::~AFile() {
    close();
}

void AFile::close() {
    if (m_stream)
        std::fclose(m_stream);
    m_stream = nullptr;
    m_path = L"";
    m_lineTrace = L"";
    m_lineBuffer.reset();
    m_lineBufferSize = 0;
}

bool AFile::open(bool complainIfMissing, AString const& path) {
    AString newPath(path); // which may be m_path
    close();
    m_path = std::move(newPath);
    CallTrace const trace(group, L"fopen", L"r", m_path);
    m_stream = openStream(m_path, O_RDONLY, "r");
    if (m_stream)
        return true;
    if (complainIfMissing || errno != ENOENT)
        logReason(group);
    return false;
}

bool AFile::openWrite(AString const& path, bool append) {
    AString newPath(path); // which may be m_path
    close();
    m_path = std::move(newPath);
    CallTrace const trace(group, L"fopen", append ? L"a" : L"w", m_path);
    m_stream = openStream(m_path, O_WRONLY | O_CREAT | (append ? O_APPEND : O_TRUNC), append ? "a" : "w");
    return !logReasonIf(group, !m_stream);
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
    if (m_lineTrace.size() == 0)
        m_lineTrace = static_cast<wchar_t const*>(CallTrace::joined(L"getc", m_path));
    ADetailTrace const trace(group, m_lineTrace);
    if (!requireOpen())
        return false;
    char* buffer = m_lineBuffer.release();
    ssize_t const length = getdelim(&buffer, &m_lineBufferSize, '\n', m_stream);
    m_lineBuffer.reset(buffer);
    if (length == -1) {
        logErrnoIf(group, std::ferror(m_stream) || !std::feof(m_stream));
        return false;
    }
    std::string_view bytes(buffer, static_cast<std::size_t>(length));
    bool const terminated = bytes.ends_with('\n');
    if (terminated)
        bytes.remove_suffix(1);
    if (!widenPlain(bytes, text))
        for (char const byte : bytes)
            line << byte;
    if (terminated)
        return true;
    return !logErrnoIf(group, std::ferror(m_stream) != 0) && !text.empty();
}

bool AFile::writeLine(AString const& line) {
    if (!requireOpen())
        return false;
    ACharString const narrow(line);
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
    if (wanted > file::greatestSize) {
        errno = EFBIG;
        logErrno(group);
        return false;
    }
    if (!into.tryToReserve(wanted))
        return false;
    into.shrinkTo(wanted);
    trace.change(L"fread", m_path);
    errno = EIO; // what a file that has become shorter is reported as
    for (unsigned long done = 0; done < wanted; done = into.size()) {
        // Growing in pieces: they are still in the processor's cache when they are read into.
        constexpr unsigned long piece = 256UL * 1024;
        if (done == into.size() && !into.tryExpandBy(std::min(piece, wanted - done)))
            return false;
        unsigned long const count = into.size() - done;
        if (logErrnoIf(group, std::fread(into.cpp_str().data() + done, 1, count, m_stream) != count))
            return false;
    }
    return into.checkAllocation();
}

bool AFile::writeBytes(unsigned char const* bytes, unsigned long count) {
    CallTrace const trace(group, L"fwrite", std::to_wstring(count).c_str(), m_path);
    if (!requireOpen())
        return false;
    bool const written =
        (count == 0 || std::fwrite(bytes, 1, count, m_stream) == count) && std::fflush(m_stream) == 0;
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
