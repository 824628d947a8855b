// The mapping of the core's and the codecs' error values to messages. Each
// switch names every enumerator, so a value added without a message is a
// compile-time warning; a value outside the enumeration maps to "An unknown
// error occurred".
#include "core/ErrorMapping.h"

namespace vivark {
namespace {

MessageId messageOf(INFILEERROR e) {
    switch (e) {
        case INFILEERROR::Cancelled:
            return msg::None;
        case INFILEERROR::UnexpectedEnd:
            return msg::UnexpectedEnd;
        case INFILEERROR::BinaryData:
            return msg::BinaryData;
        case INFILEERROR::ReadFailed:
        case INFILEERROR::SeekFailed:
        case INFILEERROR::OpenFailed:
        case INFILEERROR::IsDirectory:
            return msg::FileIo;
    }
    return msg::FileIo;
}

MessageId messageOf(ZIPERROR e) {
    switch (e) {
        case ZIPERROR::HeaderCheck:
        case ZIPERROR::BadMethod:
        case ZIPERROR::BadBlockType:
        case ZIPERROR::InvalidData:
        case ZIPERROR::IncompleteCodeSet:
        case ZIPERROR::TooManyCodes:
        case ZIPERROR::ChecksumMismatch:
        case ZIPERROR::DataIncomplete:
            return msg::ZipFirst + static_cast<uint32_t>(e);
    }
    return msg::Unknown;
}

MessageId messageOf(JPEGERROR e) {
    switch (e) {
        case JPEGERROR::BadHeader:
            return msg::JpegBadHeader;
        case JPEGERROR::NotTablesOnly:
            return msg::JpegNotTablesOnly;
    }
    return msg::Unknown;
}

MessageId messageOf(PALERROR e) {
    switch (e) {
        case PALERROR::UnknownSignature:
            return msg::PalSignature;
        case PALERROR::BadCount:
            return msg::PalData;
    }
    return msg::Unknown;
}

MessageId messageOf(OUTFILEERROR e) {
    switch (e) {
        case OUTFILEERROR::Cancelled:
            return msg::None;
        case OUTFILEERROR::DiskFull:
            return msg::DiskFull;
        case OUTFILEERROR::WriteFailed:
        case OUTFILEERROR::SeekFailed:
            return msg::FileIo;
    }
    return msg::FileIo;
}

MessageId messageOf(CREATEERROR e) {
    switch (e) {
        case CREATEERROR::WriteProtected:
            return msg::WriteProtected;
        case CREATEERROR::DiskFull:
            return msg::DiskFull;
        case CREATEERROR::CannotCreate:
        case CREATEERROR::CannotReplace:
            return msg::CannotSave;
    }
    return msg::CannotSave;
}

MessageId messageOf(SAVEERROR e) {
    switch (e) {
        case SAVEERROR::NeedsColourReduction:
            return msg::NeedsColourReduction;
        case SAVEERROR::TooLargeForFormat:
            return msg::ImageTooLarge;
    }
    return msg::Unknown;
}

}  // namespace

std::optional<MessageId> coreLoadMessage() noexcept {
    try {
        throw;
    } catch (INFILEERROR e) {
        return messageOf(e);
    } catch (CCITTERROR) {
        return msg::CcittData;
    } catch (PACKBITSERROR) {
        return msg::PackBitsData;
    } catch (LZWERROR) {
        return msg::LzwData;
    } catch (ZIPERROR e) {
        return messageOf(e);
    } catch (JFIFERROR e) {
        return msg::UnrecognizedFormat + static_cast<uint32_t>(e);
    } catch (JPEGERROR e) {
        return messageOf(e);
    } catch (IMAGEERROR) {
        return msg::ImageTooLarge;
    } catch (PALERROR e) {
        return messageOf(e);
    } catch (...) {
        return std::nullopt;
    }
}

std::optional<MessageId> coreSaveMessage() noexcept {
    try {
        throw;
    } catch (OUTFILEERROR e) {
        return messageOf(e);
    } catch (CREATEERROR e) {
        return messageOf(e);
    } catch (JFIFWRITEERROR) {
        return msg::Unknown;
    } catch (SAVEERROR e) {
        return messageOf(e);
    } catch (...) {
        return std::nullopt;
    }
}

}  // namespace vivark
