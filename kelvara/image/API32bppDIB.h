#pragma once

// API32bppDIB: the one image type of the engine. Every picture, whatever its
// file format, ends up here as width × height premultiplied BGRA pixels,
// rows bottom-up. The surface knows what its pixels came from, can give back
// the original bytes, draws itself onto another surface (or a canvas), and
// dispatches to the readers and writers.
//
// Load:   LoadPicture_File / _Stream → LoadPictureCore → PNG, GIF, ICO, BMP
//         readers in turn (each looks at the head itself and declines what
//         is not its own).
// Render: Render → RenderRotated | AlphaBlend path | MirrorBits → StretchBits
//         → BlendBits.
//
// Nothing here raises: a failed call returns False (or −1, 0, nothing) and,
// for a load, leaves no image at all.

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kelvara/base/Variant.h"
#include "kelvara/gfx/FontEngine.h"
#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/gfx/Rect.h"
#include "kelvara/image/ImageTypes.h"

namespace kelvara {

class Canvas;  // the drawing back end's device context
class APIPNGWriter;
class APIPNGParser;
class APIBMPParser;
class APIICOParser;
class APIGIFParser;

// How GetDIBbits and SetDIBbits lay out a caller's array.
struct DIBBitsLayout {
    bool PreMultiplied = true;  // colours as stored, not restored by alpha
    bool WithAlpha = true;      // four bytes per pixel, else three
    bool DwordAligned = false;  // three-byte rows padded to 32 bits
    bool TopDown = false;       // first row of the array is the top row
    bool RGBOrder = false;      // red, green, blue instead of blue, green, red
};

class API32bppDIB {
public:
    API32bppDIB();
    ~API32bppDIB();
    API32bppDIB(const API32bppDIB&) = delete;
    API32bppDIB& operator=(const API32bppDIB&) = delete;

    // --- Properties ---------------------------------------------------------

    ENUM_ALPHA_TYPE Alpha() const { return alpha; }
    void SetAlpha(ENUM_ALPHA_TYPE value) { alpha = value; }
    bool HighQualityInterpolation() const { return highQualityInterpolation; }
    void SetHighQualityInterpolation(bool value) { highQualityInterpolation = value; }
    ENUM_IMAGE_FORMAT ImageType() const { return imageType; }
    bool ManageOwnDC() const { return manageOwnDC; }
    void SetManageOwnDC(bool value) { manageOwnDC = value; }
    bool isAlphaBlendFriendly() const;
    void SetIsAlphaBlendFriendly(bool value);
    bool isGDIplusEnabled() const;
    void SetIsGDIplusEnabled(bool value);
    int32_t gdiToken() const { return token; }
    void SetGdiToken(int32_t value);
    bool KeepGDIplusActive() const { return keepGDIplusActive; }
    void SetKeepGDIplusActive(bool value);
    const Variant& Tag() const { return tag; }
    void SetTag(Variant value) { tag = std::move(value); }

    int32_t Width() const { return pixels.Width(); }
    int32_t Height() const { return pixels.Height(); }
    int32_t scanWidth() const { return pixels.Stride(); }
    uint8_t* BitsPointer() { return pixels.Bits(); }
    const uint8_t* BitsPointer() const { return pixels.Bits(); }
    // Non-zero while the surface holds an image; each image gets its own.
    uintptr_t Handle() const { return handle; }
    // True when the engine may use zlib (see Zlib::Available).
    bool isZlibEnabled() const;

    // The pixels themselves, for the engine's readers, writers and painters.
    PixelBuffer& Pixels() { return pixels; }
    const PixelBuffer& Pixels() const { return pixels; }

    // --- Loading: True when the surface now holds an image ------------------
    // iconCx, iconCy and iconBitDepth choose one icon of a multi-icon file;
    // 0, 0, 32 choose the default. KeepOriginal keeps the source bytes for
    // GetOrginalFormat and LoadPicture_FromOrignalFormat.

    bool LoadPicture_File(const std::string& FileName, int32_t iconCx = 0, int32_t iconCy = 0,
                          bool KeepOriginal = false, int32_t iconBitDepth = 32);
    // StreamLength 0 means everything from StreamStart to the end.
    bool LoadPicture_Stream(std::span<const uint8_t> Stream, int32_t iconCx = 0, int32_t iconCy = 0,
                            int32_t StreamStart = 0, int32_t StreamLength = 0,
                            bool KeepOriginal = false, int32_t iconBitDepth = 32);
    bool LoadPicture_FromOrignalFormat(int32_t iconCx = 0, int32_t iconCy = 0,
                                       int32_t iconBitDepth = 32);
    bool GetOrginalFormat(std::vector<uint8_t>& Out) const;
    // The sizes of the icons in the kept original bytes; their count.
    int32_t SourceIconSizes(std::vector<IconSize>& Sizes) const;

    // --- Pixels -------------------------------------------------------------

    bool InitializeDIB(int32_t Width, int32_t Height);
    // A picture of the size of `from` holding its pixels as an opaque image
    // (a screen's or a window's picture: AlphaNone).
    bool InitializeOpaque(const PixelBuffer& from);
    void DestroyDIB();
    void EraseDIB();

    // red + green × 256 + blue × 65536, −1 outside the picture.
    int32_t GetPixel(int32_t X, int32_t Y, uint8_t* Alpha = nullptr,
                     bool PreMultiplied = true) const;
    // The written pixel's first byte, nullptr when nothing was written.
    uint8_t* SetPixel(int32_t X, int32_t Y, OLE_COLOR Color, int32_t Alpha = 255,
                      bool PreMultiplied = true);

    // Width or Height 0 mean the whole picture; a rectangle running over the
    // picture is clipped.
    bool GetDIBbits(std::vector<uint8_t>& Out, const DIBBitsLayout& Layout = {}, int32_t X = 0,
                    int32_t Y = 0, int32_t Width = 0, int32_t Height = 0) const;
    bool SetDIBbits(std::span<const uint8_t> Bits, const DIBBitsLayout& Layout = {}, int32_t X = 0,
                    int32_t Y = 0, int32_t Width = 0, int32_t Height = 0);
    bool GetAlphaMask(std::vector<uint8_t>& Out, bool DwordAligned = false, bool TopDown = false,
                      int32_t X = 0, int32_t Y = 0, int32_t Width = 0, int32_t Height = 0) const;

    // Decides from the pixels whether they use alpha and whether they are
    // premultiplied; with PreMultiply it premultiplies them. ImageType −1 on
    // entry skips the scan (the picture is known opaque).
    void ValidateAlphaChannel(bool PreMultiply, ENUM_ALPHA_TYPE& Alpha,
                              ENUM_IMAGE_FORMAT& ImageType);

    void ScaleImage(int32_t DestWidth, int32_t DestHeight, int32_t& NewWidth, int32_t& NewHeight,
                    ENUM_SCALE_OPTIONS ScaleOption = ENUM_SCALE_OPTIONS::ScaleToSize) const;

    // --- Drawing ------------------------------------------------------------
    // The target is a canvas (destinationDC) or another surface
    // (destHostDIB), which takes precedence.

    // True: a canvas over the surface's own pixels, made on first use and
    // kept by the surface (its state lasts between calls); nullptr without
    // an image. False: lets the canvas go unless ManageOwnDC is on, and
    // returns nullptr.
    Canvas* LoadDIBinDC(bool Load);

    bool Render(Canvas* destinationDC, int32_t DestX = 0, int32_t DestY = 0, int32_t DestWidth = 0,
                int32_t DestHeight = 0, int32_t srcX = 0, int32_t srcY = 0, int32_t srcWidth = 0,
                int32_t srcHeight = 0, int32_t Opacity = 100, bool Blend = true,
                bool SetHalfTone = true, API32bppDIB* destHostDIB = nullptr,
                ENUM_GRAY_SCALE_FORMULAS grayScale = ENUM_GRAY_SCALE_FORMULAS::GrayScaleNone,
                float LightAdjustment = 0, double Angle = 0, bool CenterOnDestXY = false);

    // --- Pixel operations ---------------------------------------------------

    bool Resize(int32_t NewWidth = 0, int32_t NewHeight = 0);
    // Options are ENUM_TRIM_OPTIONS bits.
    bool TrimImage(bool Apply, int32_t Options, int32_t& X, int32_t& Y, int32_t& Width,
                   int32_t& Height);
    bool TileImage(Canvas* destinationDC, int32_t X, int32_t Y, int32_t Width, int32_t Height,
                   int32_t TileWidth = 0, int32_t TileHeight = 0, int32_t OffsetX = 0,
                   int32_t OffsetY = 0, int32_t Opacity = 100, bool Blend = true,
                   bool FlipAlternateX = false, bool FlipAlternateY = false,
                   API32bppDIB* destHostDIB = nullptr,
                   ENUM_GRAY_SCALE_FORMULAS grayScale = ENUM_GRAY_SCALE_FORMULAS::GrayScaleNone,
                   float LightAdjustment = 0);
    bool CreateCheckerBoard(int32_t BlockSize, OLE_COLOR Color1, OLE_COLOR Color2);
    bool MakeGrayScale(ENUM_GRAY_SCALE_FORMULAS Formula);
    bool MakeImageInverse();
    bool MakeTransparent(OLE_COLOR Color, bool FillInstead = false);
    bool MirrorImage(bool MirrorX, bool MirrorY);
    // The shadow as a new surface; nothing when there is no image.
    std::unique_ptr<API32bppDIB> CreateDropShadow(int32_t Depth, OLE_COLOR Color) const;
    bool RenderDropShadow_JIT(Canvas* destinationDC, int32_t X, int32_t Y, int32_t Depth,
                              OLE_COLOR Color, int32_t Opacity = 100, float LightAdjustment = 0,
                              API32bppDIB* destHostDIB = nullptr) const;
    bool MakeLighterDarker(float Percent);
    bool BlendToColor(OLE_COLOR Color, int32_t Percent);
    // The region as a list of rectangles; empty for no region.
    std::vector<RECT> CreateRegion(ENUM_REGION_STYLES Style, int32_t OffsetX = 0,
                                   int32_t OffsetY = 0) const;
    // A null Destination receives a new surface.
    void CopyImageTo(std::unique_ptr<API32bppDIB>& Destination, int32_t Width = 0,
                     int32_t Height = 0, bool CopyOriginal = false) const;
    void CopyImageTo(API32bppDIB& Destination, int32_t Width = 0, int32_t Height = 0,
                     bool CopyOriginal = false) const;
    void SwapDIBs(API32bppDIB* Other);

    // Text drawn into the picture in the box X, Y, Width × Height: lines
    // split at "\r\n", one under the other from the box's top, each
    // measured and placed by Alignment. Glyph edges become partly
    // transparent pixels of the colour, so the picture stays premultiplied,
    // and the text is blended over what is there. Color is an RGB colour.
    // False without an image, for an empty box or when no font loads.
    bool DrawText_stdFont(const StdFont& Font, std::string_view Text, int32_t X, int32_t Y,
                          int32_t Width, int32_t Height, uint32_t Alignment, OLE_COLOR Color);
    // The same with a font handle; the handle's escapement and orientation
    // are ignored, so the text always runs level.
    bool DrawText_hFont(const HFONT& Font, std::string_view Text, int32_t X, int32_t Y,
                        int32_t Width, int32_t Height, uint32_t Alignment, OLE_COLOR Color);

    // --- Saving -------------------------------------------------------------
    // FillColor −1 keeps transparency; another colour flattens the picture
    // onto it first.

    bool SaveToFile_PNG(const std::string& FileName, int32_t FillColor = -1) const;
    bool SaveToStream_PNG(std::vector<uint8_t>& Out, int32_t FillColor = -1) const;
    bool SaveToFile_Bitmap(const std::string& FileName, int32_t FillColor = 0xFFFFFF,
                           bool WithAlpha = false) const;
    bool SaveToStream_Bitmap(std::vector<uint8_t>& Out, int32_t FillColor = 0xFFFFFF,
                             bool WithAlpha = false) const;
    // An adaptive palette; with UseTransparency pixels under half opacity
    // become transparent. FillColor is what partly transparent pixels kept
    // opaque are laid over (−1: their own colour).
    bool SaveToFile_GIF(const std::string& FileName, int32_t FillColor = -1,
                        bool UseTransparency = true) const;
    bool SaveToStream_GIF(std::vector<uint8_t>& Out, int32_t FillColor = -1,
                          bool UseTransparency = true) const;

    // JPEG keeps no transparency: the picture is flattened onto FillColor,
    // and a negative one is white. Quality runs from 1 to 100 (0 counts as
    // 1, above 100 as 100); Out is left alone when the save fails.
    bool SaveToFile_JPG(const std::string& FileName, uint8_t Quality = 90,
                        int32_t FillColor = 0xFFFFFF) const;
    bool SaveToStream_JPG(std::vector<uint8_t>& Out, uint8_t Quality = 90,
                          int32_t FillColor = 0xFFFFFF) const;

    // Properties for the PNG writer (ePngProperties); Property −1 drops all.
    bool PngPropertySet(int32_t Property, const Variant& Value, const std::string& Keyword = "");
    Variant PngPropertyGet(int32_t Property, const std::string& Keyword = "") const;

private:
    friend class APIPNGParser;
    friend class APIBMPParser;
    friend class APIICOParser;
    friend class APIGIFParser;

    // The friend setter the readers and copying routines use.
    void SetImageType(ENUM_IMAGE_FORMAT value) { imageType = value; }
    // Reads from `file` (when given) or `bytes`, trying each reader in turn.
    bool DrawTextCore(const FontRequest& font, std::string_view text, int32_t x, int32_t y,
                      int32_t width, int32_t height, uint32_t alignment, OLE_COLOR color);
    bool LoadPictureCore(std::FILE* file, std::span<const uint8_t> bytes, int32_t iconCx,
                         int32_t iconCy, bool KeepOriginal, int32_t iconBitDepth);
    // Takes over another surface's settings when a temporary replaces this
    // one (Resize, TrimImage).
    void CopySettingsTo(API32bppDIB& other) const;

    PixelBuffer pixels;
    uintptr_t handle = 0;
    ENUM_ALPHA_TYPE alpha = ENUM_ALPHA_TYPE::AlphaNone;
    ENUM_IMAGE_FORMAT imageType = ENUM_IMAGE_FORMAT::ImageError;
    bool highQualityInterpolation = false;
    bool manageOwnDC = false;
    int32_t capabilities = 0;
    int32_t token = 0;
    bool keepGDIplusActive = false;
    Variant tag;
    std::unique_ptr<APIPNGWriter> pngProperties;
    std::vector<uint8_t> originalBytes;
    // Shared rather than unique only so that this header need not define
    // Canvas: the deleter is fixed where the canvas is made.
    std::shared_ptr<Canvas> ownDC;
};

}  // namespace kelvara
