#include "orvgui/viewer/canvasproperties.h"

#include "zorbase/gui/imageconvert.h"

CanvasProperties::CanvasProperties(const IplImage* image, int id) : m_id(id) {
    SetImage(image);
}

void CanvasProperties::ResetFlags() {
    m_histImage.Reset();
    m_reserved = -1;
    m_scale = -1.0;
    m_windowBorderCorrected = false;
}

void CanvasProperties::Init(const IplImage* image) {
    Init(Image(image));
}

void CanvasProperties::Init(const Image& image) {
    SetImage(image);
    ResetFlags();
}

void CanvasProperties::Reset() {
    SetImage(Image());
    ResetFlags();
}

void CanvasProperties::SetImage(const IplImage* image) {
    SetImage(Image(image));
}

void CanvasProperties::SetImage(const Image& image) {
    m_wxImage = wxImage();
    m_bmpImage = wxBitmap();
    m_image = image;
    m_pyramid.reset();
}

const std::shared_ptr<DisplayPyramid>& CanvasProperties::GetPyramid() {
    if (!m_pyramid) m_pyramid = DisplayPyramid::For(m_image);
    return m_pyramid;
}

void CanvasProperties::SetImage1(const IplImage* image) {
    m_image1 = Image(image);
}

void CanvasProperties::SetImage2(const IplImage* image) {
    m_image2 = Image(image);
}

wxImage CanvasProperties::GetWxImage() {
    if (!m_wxImage.IsOk() && m_image.IsValid()) IplImageToWxImage(m_image.GetMat(), m_wxImage);
    return m_wxImage;
}

wxBitmap& CanvasProperties::GetBmpImage() {
    if (!m_bmpImage.IsOk()) {
        const wxImage picture = GetWxImage();
        if (picture.IsOk()) m_bmpImage = wxBitmap(picture, -1);
    }
    return m_bmpImage;
}
