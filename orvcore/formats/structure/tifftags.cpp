#include "orvcore/formats/structure/tifftags.h"

#include <algorithm>
#include <iterator>

namespace {

struct Tag {
    std::uint32_t number;
    const char* name;
};

// Each table by growing number.
constexpr Tag kImage[] = {
    {0x0002, "SensorWidth"},
    {0x0003, "SensorHeight"},
    {0x002E, "JpgFromRaw"},
    {0x00FE, "NewSubfileType"},
    {0x00FF, "SubfileType"},
    {0x0100, "ImageWidth"},
    {0x0101, "ImageLength"},
    {0x0102, "BitsPerSample"},
    {0x0103, "Compression"},
    {0x0106, "PhotometricInterpretation"},
    {0x0107, "Threshholding"},
    {0x010A, "FillOrder"},
    {0x010D, "DocumentName"},
    {0x010E, "ImageDescription"},
    {0x010F, "Make"},
    {0x0110, "Model"},
    {0x0111, "StripOffsets"},
    {0x0112, "Orientation"},
    {0x0115, "SamplesPerPixel"},
    {0x0116, "RowsPerStrip"},
    {0x0117, "StripByteCounts"},
    {0x0118, "MinSampleValue"},
    {0x0119, "MaxSampleValue"},
    {0x011A, "XResolution"},
    {0x011B, "YResolution"},
    {0x011C, "PlanarConfiguration"},
    {0x011D, "PageName"},
    {0x0128, "ResolutionUnit"},
    {0x0129, "PageNumber"},
    {0x012D, "TransferFunction"},
    {0x0131, "Software"},
    {0x0132, "DateTime"},
    {0x013B, "Artist"},
    {0x013C, "HostComputer"},
    {0x013D, "Predictor"},
    {0x013E, "WhitePoint"},
    {0x013F, "PrimaryChromaticities"},
    {0x0140, "ColorMap"},
    {0x0142, "TileWidth"},
    {0x0143, "TileLength"},
    {0x0144, "TileOffsets"},
    {0x0145, "TileByteCounts"},
    {0x014A, "SubIFDs"},
    {0x0152, "ExtraSamples"},
    {0x0153, "SampleFormat"},
    {0x015B, "JPEGTables"},
    {0x0200, "JPEGProc"},
    {0x0201, "JPEGInterchangeFormat"},
    {0x0202, "JPEGInterchangeFormatLength"},
    {0x0211, "YCbCrCoefficients"},
    {0x0212, "YCbCrSubSampling"},
    {0x0213, "YCbCrPositioning"},
    {0x0214, "ReferenceBlackWhite"},
    {0x02BC, "XMP"},
    {0x4746, "Rating"},
    {0x4749, "RatingPercent"},
    {0x828D, "CFARepeatPatternDim"},
    {0x828E, "CFAPattern"},
    {0x8298, "Copyright"},
    {0x829A, "ExposureTime"},
    {0x829D, "FNumber"},
    {0x83BB, "IPTC"},
    {0x8649, "PhotoshopResources"},
    {0x8769, "ExifIFD"},
    {0x8773, "ICCProfile"},
    {0x8825, "GPSIFD"},
    {0x8827, "ISOSpeedRatings"},
    {0x9003, "DateTimeOriginal"},
    {0x9C9B, "XPTitle"},
    {0x9C9C, "XPComment"},
    {0x9C9D, "XPAuthor"},
    {0x9C9E, "XPKeywords"},
    {0x9C9F, "XPSubject"},
    {0xC4A5, "PrintImageMatching"},
    {0xC612, "DNGVersion"},
    {0xC613, "DNGBackwardVersion"},
    {0xC614, "UniqueCameraModel"},
    {0xC615, "LocalizedCameraModel"},
    {0xC616, "CFAPlaneColor"},
    {0xC617, "CFALayout"},
    {0xC618, "LinearizationTable"},
    {0xC61A, "BlackLevel"},
    {0xC61D, "WhiteLevel"},
    {0xC61E, "DefaultScale"},
    {0xC61F, "DefaultCropOrigin"},
    {0xC620, "DefaultCropSize"},
    {0xC621, "ColorMatrix1"},
    {0xC622, "ColorMatrix2"},
    {0xC623, "CameraCalibration1"},
    {0xC624, "CameraCalibration2"},
    {0xC627, "AnalogBalance"},
    {0xC628, "AsShotNeutral"},
    {0xC62A, "BaselineExposure"},
    {0xC62B, "BaselineNoise"},
    {0xC62C, "BaselineSharpness"},
    {0xC62F, "CameraSerialNumber"},
    {0xC630, "LensInfo"},
    {0xC634, "DNGPrivateData"},
    {0xC635, "MakerNoteSafety"},
    {0xC65A, "CalibrationIlluminant1"},
    {0xC65B, "CalibrationIlluminant2"},
    {0xC65D, "RawDataUniqueID"},
    {0xC68B, "OriginalRawFileName"},
    {0xC68D, "ActiveArea"},
    {0xC6F8, "ProfileName"},
    {0xC6FC, "ProfileToneCurve"},
    {0xC714, "ForwardMatrix1"},
    {0xC715, "ForwardMatrix2"},
    {0xC716, "PreviewApplicationName"},
    {0xC717, "PreviewApplicationVersion"},
    {0xC71B, "PreviewDateTime"},
    {0xC740, "OpcodeList1"},
    {0xC741, "OpcodeList2"},
    {0xC74E, "OpcodeList3"},
    {0xC761, "NoiseProfile"},
    {0xCD41, "C2PA"},
    {0xEA1C, "Padding"},
};
constexpr Tag kExif[] = {
    {0x829A, "ExposureTime"},
    {0x829D, "FNumber"},
    {0x8822, "ExposureProgram"},
    {0x8824, "SpectralSensitivity"},
    {0x8827, "ISOSpeedRatings"},
    {0x8830, "SensitivityType"},
    {0x8832, "RecommendedExposureIndex"},
    {0x9000, "ExifVersion"},
    {0x9003, "DateTimeOriginal"},
    {0x9004, "DateTimeDigitized"},
    {0x9010, "OffsetTime"},
    {0x9011, "OffsetTimeOriginal"},
    {0x9012, "OffsetTimeDigitized"},
    {0x9101, "ComponentsConfiguration"},
    {0x9102, "CompressedBitsPerPixel"},
    {0x9201, "ShutterSpeedValue"},
    {0x9202, "ApertureValue"},
    {0x9203, "BrightnessValue"},
    {0x9204, "ExposureBiasValue"},
    {0x9205, "MaxApertureValue"},
    {0x9206, "SubjectDistance"},
    {0x9207, "MeteringMode"},
    {0x9208, "LightSource"},
    {0x9209, "Flash"},
    {0x920A, "FocalLength"},
    {0x9214, "SubjectArea"},
    {0x927C, "MakerNote"},
    {0x9286, "UserComment"},
    {0x9290, "SubSecTime"},
    {0x9291, "SubSecTimeOriginal"},
    {0x9292, "SubSecTimeDigitized"},
    {0xA000, "FlashpixVersion"},
    {0xA001, "ColorSpace"},
    {0xA002, "PixelXDimension"},
    {0xA003, "PixelYDimension"},
    {0xA004, "RelatedSoundFile"},
    {0xA005, "InteroperabilityIFD"},
    {0xA20B, "FlashEnergy"},
    {0xA20E, "FocalPlaneXResolution"},
    {0xA20F, "FocalPlaneYResolution"},
    {0xA210, "FocalPlaneResolutionUnit"},
    {0xA214, "SubjectLocation"},
    {0xA215, "ExposureIndex"},
    {0xA217, "SensingMethod"},
    {0xA300, "FileSource"},
    {0xA301, "SceneType"},
    {0xA302, "CFAPattern"},
    {0xA401, "CustomRendered"},
    {0xA402, "ExposureMode"},
    {0xA403, "WhiteBalance"},
    {0xA404, "DigitalZoomRatio"},
    {0xA405, "FocalLengthIn35mmFilm"},
    {0xA406, "SceneCaptureType"},
    {0xA407, "GainControl"},
    {0xA408, "Contrast"},
    {0xA409, "Saturation"},
    {0xA40A, "Sharpness"},
    {0xA40B, "DeviceSettingDescription"},
    {0xA40C, "SubjectDistanceRange"},
    {0xA420, "ImageUniqueID"},
    {0xA430, "CameraOwnerName"},
    {0xA431, "BodySerialNumber"},
    {0xA432, "LensSpecification"},
    {0xA433, "LensMake"},
    {0xA434, "LensModel"},
    {0xA435, "LensSerialNumber"},
    {0xA460, "CompositeImage"},
    {0xA500, "Gamma"},
    {0xEA1C, "Padding"},
    {0xEA1D, "OffsetSchema"},
};
constexpr Tag kGps[] = {
    {0x00, "GPSVersionID"},       {0x01, "GPSLatitudeRef"},
    {0x02, "GPSLatitude"},        {0x03, "GPSLongitudeRef"},
    {0x04, "GPSLongitude"},       {0x05, "GPSAltitudeRef"},
    {0x06, "GPSAltitude"},        {0x07, "GPSTimeStamp"},
    {0x08, "GPSSatellites"},      {0x09, "GPSStatus"},
    {0x0A, "GPSMeasureMode"},     {0x0B, "GPSDOP"},
    {0x0C, "GPSSpeedRef"},        {0x0D, "GPSSpeed"},
    {0x0E, "GPSTrackRef"},        {0x0F, "GPSTrack"},
    {0x10, "GPSImgDirectionRef"}, {0x11, "GPSImgDirection"},
    {0x12, "GPSMapDatum"},        {0x13, "GPSDestLatitudeRef"},
    {0x14, "GPSDestLatitude"},    {0x15, "GPSDestLongitudeRef"},
    {0x16, "GPSDestLongitude"},   {0x17, "GPSDestBearingRef"},
    {0x18, "GPSDestBearing"},     {0x19, "GPSDestDistanceRef"},
    {0x1A, "GPSDestDistance"},    {0x1B, "GPSProcessingMethod"},
    {0x1C, "GPSAreaInformation"}, {0x1D, "GPSDateStamp"},
    {0x1E, "GPSDifferential"},    {0x1F, "GPSHPositioningError"},
};
constexpr Tag kInteroperability[] = {
    {0x0001, "InteroperabilityIndex"},  {0x0002, "InteroperabilityVersion"},
    {0x1000, "RelatedImageFileFormat"}, {0x1001, "RelatedImageWidth"},
    {0x1002, "RelatedImageLength"},
};
constexpr Tag kMultiPicture[] = {
    {0xB000, "MPFVersion"},         {0xB001, "NumberOfImages"},   {0xB002, "MPEntry"},
    {0xB003, "ImageUIDList"},       {0xB004, "TotalFrames"},      {0xB101, "MPIndividualNum"},
    {0xB201, "PanOrientation"},     {0xB202, "PanOverlapH"},      {0xB203, "PanOverlapV"},
    {0xB204, "BaseViewpointNum"},   {0xB205, "ConvergenceAngle"}, {0xB206, "BaselineLength"},
    {0xB207, "VerticalDivergence"}, {0xB208, "AxisDistanceX"},    {0xB209, "AxisDistanceY"},
    {0xB20A, "AxisDistanceZ"},      {0xB20B, "YawAngle"},         {0xB20C, "PitchAngle"},
    {0xB20D, "RollAngle"},
};

template <std::size_t N>
const char* Find(const Tag (&table)[N], std::uint32_t number) {
    const auto found =
        std::lower_bound(std::begin(table), std::end(table), number,
                         [](const Tag& tag, std::uint32_t value) { return tag.number < value; });
    return found != std::end(table) && found->number == number ? found->name : nullptr;
}

struct Type {
    const char* name;
    std::size_t size;
};
constexpr Type kTypes[] = {{nullptr, 0},     {"BYTE", 1},  {"ASCII", 1},     {"SHORT", 2},  {"LONG", 4},
                           {"RATIONAL", 8},  {"SBYTE", 1}, {"UNDEFINED", 1}, {"SSHORT", 2}, {"SLONG", 4},
                           {"SRATIONAL", 8}, {"FLOAT", 4}, {"DOUBLE", 8},    {"IFD", 4},    {nullptr, 0},
                           {nullptr, 0},     {"LONG8", 8}, {"SLONG8", 8},    {"IFD8", 8}};

}  // namespace

const char* TiffTagName(TiffDirectoryKind kind, std::uint32_t tag) {
    switch (kind) {
        case TiffDirectoryKind::Exif:
            return Find(kExif, tag);
        case TiffDirectoryKind::Gps:
            return Find(kGps, tag);
        case TiffDirectoryKind::Interoperability:
            return Find(kInteroperability, tag);
        case TiffDirectoryKind::MultiPicture:
            return Find(kMultiPicture, tag);
        case TiffDirectoryKind::Image:
            break;
    }
    return Find(kImage, tag);
}

const char* TiffTypeName(std::uint32_t type) {
    return type < std::size(kTypes) ? kTypes[type].name : nullptr;
}

std::size_t TiffTypeSize(std::uint32_t type) {
    return type < std::size(kTypes) ? kTypes[type].size : 0;
}
