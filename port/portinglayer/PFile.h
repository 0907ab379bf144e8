// SPDX-License-Identifier: MIT
// PFile: text files, line by line.
#ifndef IXLAL_PFILE_H
#define IXLAL_PFILE_H

#include "PExport.h"
#include "PString.h"

#include <cstddef>

/// A text file in UTF-8, whatever the locale. Reading: lines end at LF or CRLF, a last line
/// without an end counts, a byte-order mark at the start is skipped, and bytes that are not valid
/// UTF-8 become the characters U+DC80 to U+DCFF, which are written back as those bytes. Writing:
/// one call writes one line that reads back as the same text, line breaks and zeros inside it
/// included (see PUtf8).
///
/// Operations return 0 or a negated errno (-9 when no file is open, -12 for lack of memory). None
/// throws. One PFile belongs to one thread at a time.
class IXLA_EXPORT PFile
{
public:
    /// Bits of the open mode.
    enum EMode
    {
        eRead = 1,
        eWrite = 2,
        eNewText = 8, ///< empties the file first
        eCreate = 16  ///< creates the file when it is missing
    };

    PFile() noexcept;

    /// Closes an open file; its result is lost, so writers call pclose.
    ~PFile();

    PFile(const PFile&) = delete;
    PFile& operator=(const PFile&) = delete;

    /// Opens iPath, close-on-exec, waiting out interrupted calls. iAccess is the permission bits
    /// of a created file, less the umask; 0 stands for 0600. Without eNewText writing starts at
    /// the end of the file. -22 for a mode without reading or writing and for a path with a zero
    /// character, -16 when a file is open already, -21 for a directory. Opening a named pipe waits
    /// for its other end.
    int popen(const PLiteral& iPath, unsigned int iMode, unsigned int iAccess) noexcept;

    /// Writes out what is buffered and closes. Returns the first error of any write since popen,
    /// or of closing.
    int pclose() noexcept;

    /// Reads the next line without its end. Returns 0, -61 at the end of the file, or the error
    /// of reading; oLine is then unchanged.
    int preadLine(PString& oLine) noexcept;

    /// Writes iLine and a line end. Returns 0 or the first write error, which also ends all
    /// further writing.
    int pwriteLine(const PLiteral& iLine) noexcept;

    /// Makes room, before or after opening, for lines of up to iLen characters: writing them then
    /// needs no further memory. Returns 0 or -12.
    int reserve(unsigned int iLen) noexcept;

    /// Reduces a path to what stands after its last "/".
    static void getFileName(PString& ioPath) noexcept;

    /// Whether a file of any kind stands at iPath. [any thread]
    static bool exists(const PLiteral& iPath) noexcept;

    /// Deletes a file. [any thread]
    static int pdelete(const PLiteral& iPath) noexcept;

private:
    int endWriting() noexcept;
    int startWriting(const PLiteral& iLine) noexcept;
    int takeLine(const char* iEnd, PString& oLine) noexcept;
    int fillBuffer() noexcept;
    int flushBuffer() noexcept;
    int reserveBuffer(unsigned long long iSize) noexcept;

    int fHandle;        ///< -1 while closed
    unsigned int fMode; ///< as given to popen
    int fWriteResult;   ///< the first write error
    char* fBuffer;      ///< bytes read ahead, or bytes not written yet
    std::size_t fBegin; ///< first byte of the buffer that was not handed out
    std::size_t fEnd;   ///< end of the bytes in the buffer
    std::size_t fCapacity;
    bool fAtStart; ///< the next line is the first of the file
    bool fWriting; ///< the buffer holds bytes to be written
};

#endif
