#pragma once

#include <wx/bitmap.h>
#include <wx/image.h>

#include <memory>

#include "orvgui/viewer/displaypyramid.h"
#include "zorimage/image.h"

// What one canvas shows: the image, two auxiliary images (the other views of the same page), a histogram picture and the
// value scale of plots. The image is never the caller's to change: a C image is copied, an Image shares its immutable buffer.
// The toolkit's full-size picture and bitmap are made only when somebody asks for them. GUI thread. A copy shows the same.
class CanvasProperties {
  public:
    CanvasProperties(const IplImage* image, int id);

    void Init(const IplImage* image);
    void Init(const Image& image);
    void Reset();  // no image, no histogram, no scale; the auxiliary images stay

    // Null or an empty image: nothing to show. The scale, the histogram and the flags stay as they are.
    void SetImage(const IplImage* image);
    void SetImage(const Image& image);
    void SetImage1(const IplImage* image);
    void SetImage1(const Image& image) { m_image1 = image; }
    void SetImage2(const IplImage* image);
    void SetImage2(const Image& image) { m_image2 = image; }
    void SetHistogram(const Image& histogram) { m_histImage = histogram; }
    void SetScale(double scale) { m_scale = scale; }  // pixels per unit of value; -1 when unset
    void CorrectWindowBorder(bool corrected) { m_windowBorderCorrected = corrected; }

    Image& GetIplImage() { return m_image; }
    Image& GetImage1() { return m_image1; }
    Image& GetImage2() { return m_image2; }
    Image& GetHistImage() { return m_histImage; }
    // Invalid when there is no image, or when it is too large for the toolkit.
    wxBitmap& GetBmpImage();
    wxImage GetWxImage();
    double GetScale() const { return m_scale; }
    bool IsWindowBorderCorrected() const { return m_windowBorderCorrected; }
    int GetId() const { return m_id; }

    bool IsValid() const { return m_image.IsValid(); }
    int GetWidth() const { return m_image.GetWidth(); }
    int GetHeight() const { return m_image.GetHeight(); }
    int GetChannels() const { return m_image.GetChannels(); }
    CvSize GetSize() const { return m_image.GetSize(); }
    IntPair GetPixelSize() const { return {m_image.GetWidth(), m_image.GetHeight()}; }
    // The image as it is painted, made when first asked for; null when there is none.
    const std::shared_ptr<DisplayPyramid>& GetPyramid();

  private:
    void ResetFlags();

    Image m_image;
    Image m_image1;
    Image m_image2;
    wxImage m_wxImage;    // made on demand
    wxBitmap m_bmpImage;  // made on demand
    Image m_histImage;
    int m_reserved = -1;
    double m_scale = -1.0;
    bool m_windowBorderCorrected = false;
    int m_id;
    std::shared_ptr<DisplayPyramid> m_pyramid;  // made on demand: a hidden canvas needs none
};
