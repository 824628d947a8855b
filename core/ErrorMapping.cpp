// The load and save paths' mapping of thrown error values to messages. Each
// type's clause maps its values; "any other value" falls to that type's own
// fallback, so a value added without a message cannot go unnoticed in tests.
#include "core/ErrorMapping.h"

namespace vivark {
namespace {

constexpr uint32_t value(auto e) {
    return static_cast<uint32_t>(e);
}

MessageId mapInFile(INFILEERROR e) {
    switch (e) {
        case INFILEERROR::Cancelled:
            return msg::None;
        case INFILEERROR::UnexpectedEnd:
            return msg::UnexpectedEnd;
        case INFILEERROR::BinaryData:
            return msg::BinaryData;
        default:
            return msg::FileIo;  // 1, 3, 4, 7 and any other value
    }
}

MessageId mapZip(ZIPERROR e) {
    return value(e) <= 7 ? msg::ZipFirst + value(e) : msg::Unknown;
}

MessageId mapBmp(BMPERROR e) {
    switch (value(e)) {
        case 0:
            return msg::InvalidFile;
        case 1:
            return msg::DataIntegrity;
        case 2:
            return msg::BmpOverrun;
        case 3:
            return msg::UnsupportedCompression;
        default:
            return msg::Unknown;
    }
}

MessageId mapFax3(FAX3ERROR e) {
    return value(e) == 1 ? msg::DataIntegrity : msg::Unknown;
}

MessageId mapFits(FITSERROR e) {
    switch (value(e)) {
        case 1:
        case 2:
            return msg::FitsNaxis;
        case 3:
            return msg::FitsBitpix;
        case 4:
            return msg::DataIntegrity;
        default:
            return msg::Unknown;
    }
}

MessageId mapGif(GIFERROR e) {
    switch (value(e)) {
        case 1:
            return msg::GifPrematureEnd;
        case 2:
            return msg::GifNoColourMap;
        case 3:
            return msg::GifBadCodeSize;
        default:
            return msg::Unknown;
    }
}

MessageId mapIff(IFFERROR e) {
    return value(e) <= 11 ? msg::IffFirst + value(e) : msg::Unknown;
}

MessageId mapImg(IMGERROR e) {
    switch (value(e)) {
        case 0:
            return msg::DataIntegrity;
        case 1:
            return msg::InvalidFile;
        case 2:
            return msg::ImgPlanes;
        default:
            return msg::Unknown;
    }
}

MessageId mapJpeg(JPEGERROR e) {
    switch (value(e)) {
        case 0:
            return msg::JpegBadHeader;
        case 1:
            return msg::JpegNotTablesOnly;
        default:
            return msg::Unknown;
    }
}

MessageId mapMsp(MSPERROR e) {
    switch (value(e)) {
        case 0:
            return msg::MspNotMsp;
        case 1:
            return msg::DataIntegrity;
        default:
            return msg::Unknown;
    }
}

MessageId mapPcd(PCDERROR e) {
    if (value(e) == 0) return msg::DataIntegrity;
    return value(e) <= 9 ? msg::PcdBase + value(e) : msg::Unknown;
}

MessageId mapPcx(PCXERROR e) {
    switch (value(e)) {
        case 0:
            return msg::InvalidFile;
        case 1:
            return msg::DataIntegrity;
        default:
            return msg::Unknown;
    }
}

MessageId mapPsd(PSDERROR e) {
    switch (value(e)) {
        case 0:
            return msg::DataIntegrity;
        case 1:
            return msg::PsdDepth;
        case 2:
            return msg::PsdColourMode;
        case 3:
            return msg::PsdCompression;
        default:
            return msg::Unknown;
    }
}

MessageId mapPic(PICERROR e) {
    switch (value(e)) {
        case 0:
            return msg::DataIntegrity;
        case 1:
            return msg::InvalidFile;
        case 2:
            return msg::ColourMapTooLarge;
        default:
            return msg::Unknown;
    }
}

MessageId mapPics(PICSERROR e) {
    if (value(e) <= 2) return msg::InvalidFile;
    return value(e) == 3 ? msg::DataIntegrity : msg::Unknown;
}

MessageId mapPng(PNGERROR e) {
    return value(e) <= 18 ? msg::PngFirst + value(e) : msg::Unknown;
}

MessageId mapPnm(PNMERROR e) {
    switch (value(e)) {
        case 0:
            return msg::DataIntegrity;
        case 1:
            return msg::InvalidFile;
        default:
            return msg::Unknown;
    }
}

MessageId mapRleu(RLEUERROR e) {
    switch (value(e)) {
        case 0:
            return msg::InvalidFile;
        case 1:
            return msg::DataIntegrity;
        case 2:
            return msg::UnsupportedChannels;
        case 3:
            return msg::UnsupportedBitCount;
        default:
            return msg::Unknown;
    }
}

MessageId mapRas(RASERROR e) {
    switch (value(e)) {
        case 0:
            return msg::UnsupportedBitCount;
        case 1:
            return msg::RasType;
        case 2:
            return msg::RasMapType;
        default:
            return msg::Unknown;
    }
}

MessageId mapSff(SFFERROR e) {
    switch (value(e)) {
        case 0:
            return msg::InvalidFile;
        case 1:
            return msg::DataIntegrity;
        case 2:
            return msg::SffNoPageHeader;
        case 3:
            return msg::SffCoding;
        default:
            return msg::Unknown;
    }
}

MessageId mapSgi(SGIERROR e) {
    switch (value(e)) {
        case 0:
            return msg::InvalidFile;
        case 1:
            return msg::DataIntegrity;
        case 2:
            return msg::SgiMapOnly;
        case 3:
            return msg::SgiColourType;
        case 4:
            return msg::SgiStorage;
        case 5:
            return msg::SgiChannelSize;
        default:
            return msg::Unknown;
    }
}

MessageId mapTga(TGAERROR e) {
    switch (value(e)) {
        case 0:
            return msg::TgaMapFormat;
        case 1:
            return msg::DataIntegrity;
        case 2:
            return msg::InvalidFile;
        case 3:
            return msg::ColourMapTooLarge;
        default:
            return msg::Unknown;
    }
}

MessageId mapTiff(TIFFERROR e) {
    switch (value(e)) {
        case 0:
            return msg::TiffDataType;
        case 1:
            return msg::DataIntegrity;
        case 2:
            return msg::UnsupportedCompression;
        case 3:
            return msg::TiffFillOrder;
        case 4:
            return msg::TiffInvalid;
        case 5:
            return msg::ColourMapTooLarge;
        case 6:
            return msg::TiffZeroBits;
        case 7:
            return msg::TiffSamples;
        case 8:
            return msg::TiffPhotometric;
        case 9:
            return msg::TiffNoPhotometric;
        case 10:
            return msg::TiffPredictor;
        case 11:
            return msg::TiffPlanar;
        case 12:
            return msg::TiffJpeg;
        default:
            return msg::Unknown;
    }
}

MessageId mapWpg(WPGERROR e) {
    switch (value(e)) {
        case 1:
            return msg::InvalidFile;
        case 2:
            return msg::WpgNoRaster;
        case 3:
            return msg::DataIntegrity;
        default:
            return msg::Unknown;
    }
}

MessageId mapXpm(XPMERROR e) {
    switch (value(e)) {
        case 1:
            return msg::XpmHeader;
        case 2:
            return msg::XpmColourMap;
        case 3:
            return msg::XpmUnknownColour;
        case 4:
            return msg::XpmUnknownPixel;
        default:
            return msg::Unknown;
    }
}

MessageId mapXwd(XWDERROR e) {
    switch (value(e)) {
        case 0:
            return msg::XwdImageData;
        case 1:
            return msg::XwdByteOrder;
        case 2:
            return msg::XwdBitOrder;
        case 3:
            return msg::XwdUnit;
        case 4:
            return msg::UnsupportedBitCount;
        case 5:
            return msg::XwdFormat;
        case 6:
            return msg::XwdBitmask;
        case 7:
            return msg::ColourMapTooLarge;
        case 8:
            return msg::XwdNoColourMap;
        default:
            return msg::Unknown;
    }
}

MessageId onlyZero(uint32_t v, MessageId zero) {
    return v == 0 ? zero : msg::Unknown;
}

}  // namespace

MessageId loadMessageForCurrentException() noexcept {
    try {
        throw;
    } catch (INFILEERROR e) {
        return mapInFile(e);
    } catch (CCITTERROR) {
        return msg::CcittData;
    } catch (PACKBITSERROR) {
        return msg::PackBitsData;
    } catch (LZWERROR) {
        return msg::LzwData;
    } catch (ZIPERROR e) {
        return mapZip(e);
    } catch (BMPERROR e) {
        return mapBmp(e);
    } catch (FAX3ERROR e) {
        return mapFax3(e);
    } catch (FITSERROR e) {
        return mapFits(e);
    } catch (GIFERROR e) {
        return mapGif(e);
    } catch (IFFERROR e) {
        return mapIff(e);
    } catch (IMGERROR e) {
        return mapImg(e);
    } catch (JFIFERROR e) {
        return msg::UnrecognizedFormat + value(e);
    } catch (JPEGERROR e) {
        return mapJpeg(e);
    } catch (LGOERROR e) {
        return onlyZero(value(e), msg::DataIntegrity);
    } catch (MACPERROR) {
        return msg::Unknown;
    } catch (MSPERROR e) {
        return mapMsp(e);
    } catch (PCDERROR e) {
        return mapPcd(e);
    } catch (PCXERROR e) {
        return mapPcx(e);
    } catch (PSDERROR e) {
        return mapPsd(e);
    } catch (PICERROR e) {
        return mapPic(e);
    } catch (PICBERROR e) {
        return onlyZero(value(e), msg::InvalidFile);
    } catch (PICSERROR e) {
        return mapPics(e);
    } catch (PNGERROR e) {
        return mapPng(e);
    } catch (PNMERROR e) {
        return mapPnm(e);
    } catch (RLECERROR e) {
        return onlyZero(value(e), msg::InvalidFile);
    } catch (RLEUERROR e) {
        return mapRleu(e);
    } catch (RASERROR e) {
        return mapRas(e);
    } catch (SFFERROR e) {
        return mapSff(e);
    } catch (SGIERROR e) {
        return mapSgi(e);
    } catch (TGAERROR e) {
        return mapTga(e);
    } catch (TIFFERROR e) {
        return mapTiff(e);
    } catch (WPGERROR e) {
        return mapWpg(e);
    } catch (XBMERROR e) {
        return onlyZero(value(e), msg::DataIntegrity);
    } catch (XPMERROR e) {
        return mapXpm(e);
    } catch (XWDERROR e) {
        return mapXwd(e);
    } catch (IMAGEERROR e) {
        return onlyZero(value(e), msg::ImageTooLarge);
    } catch (PALERROR e) {
        if (e == PALERROR::UnknownSignature) return msg::PalSignature;
        return e == PALERROR::BadCount ? msg::PalData : msg::Unknown;
    } catch (...) {
        return msg::Unknown;
    }
}

MessageId saveMessageForCurrentException() noexcept {
    try {
        throw;
    } catch (OUTFILEERROR e) {
        switch (e) {
            case OUTFILEERROR::Cancelled:
                return msg::None;
            case OUTFILEERROR::DiskFull:
                return msg::DiskFull;
            default:
                return msg::FileIo;
        }
    } catch (CREATEERROR e) {
        switch (e) {
            case CREATEERROR::WriteProtected:
                return msg::WriteProtected;
            case CREATEERROR::DiskFull:
                return msg::DiskFull;
            default:
                return msg::CannotSave;
        }
    } catch (JFIFWRITEERROR) {
        return msg::Unknown;
    } catch (FAX3WRITEERROR) {
        return msg::Unknown;
    } catch (SAVEERROR e) {
        switch (e) {
            case SAVEERROR::NeedsColourReduction:
                return msg::NeedsColourReduction;
            case SAVEERROR::TooLargeForFormat:
                return msg::ImageTooLarge;
            default:
                return msg::Unknown;
        }
    } catch (...) {
        return loadMessageForCurrentException();
    }
}

}  // namespace vivark
