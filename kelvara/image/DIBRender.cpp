// Drawing a surface onto a target.
//
//   Render ─┬─ TargetOf (the host surface, or a canvas: one target per clip
//           │            rectangle, and its origin)
//           └─ RenderCore: normalise the request, then one painter:
//                RenderRotated                      (an angle)
//              | AlphaBlend                         (nothing in its way)
//              | MirrorBits → StretchBits → BlendBits
//   TileImage → one tile into a temporary → a band by doubling → rows copied
//               down → RenderCore once
//   RenderDropShadow_JIT → CreateDropShadow → Render

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

#include "kelvara/gfx/AlphaBlend.h"
#include "kelvara/gfx/Canvas.h"
#include "kelvara/image/API32bppDIB.h"
#include "kelvara/image/detail/PixelKernels.h"

namespace kelvara {

namespace {

using detail::BlendOptions;
using detail::Mirror;
using detail::RenderTarget;
using detail::Sampling;

// Render's arguments, widened so that centring and negation cannot overflow.
struct RenderArgs {
    int64_t destX = 0;
    int64_t destY = 0;
    int64_t destWidth = 0;
    int64_t destHeight = 0;
    int64_t srcX = 0;
    int64_t srcY = 0;
    int64_t srcWidth = 0;
    int64_t srcHeight = 0;
    int32_t opacity = 100;
    ENUM_GRAY_SCALE_FORMULAS grayScale = ENUM_GRAY_SCALE_FORMULAS::GrayScaleNone;
    float lightAdjustment = 0;
    double angle = 0;
    bool centerOnDestXY = false;
};

// The pixels a draw lands on: one target per rectangle of a canvas's clip,
// since the kernels clip to a single rectangle, and the canvas's origin,
// which moves the destination. A host surface wins over a canvas. A canvas
// whose clip shows nothing still gets one target, with an empty clip, so
// that the request is checked as for any other target.
struct Targets {
    std::vector<RenderTarget> Parts;
    int32_t OriginX = 0;
    int32_t OriginY = 0;
};

std::optional<Targets> TargetOf(Canvas* destinationDC, API32bppDIB* destHostDIB) {
    if (destHostDIB != nullptr && destHostDIB->Handle() != 0) {
        PixelBuffer& pixels = destHostDIB->Pixels();
        return Targets{{RenderTarget{&pixels, detail::WholeOf(pixels), true}}, 0, 0};
    }
    if (destinationDC == nullptr || destinationDC->Pixels().Empty()) {
        return std::nullopt;
    }
    Targets targets;
    PixelBuffer* pixels = &destinationDC->Pixels();
    for (const RECT& clip : destinationDC->ClipRects()) {
        targets.Parts.push_back(RenderTarget{pixels, clip, true});
    }
    if (targets.Parts.empty()) {
        targets.Parts.push_back(RenderTarget{pixels, RECT{}, true});
    }
    targets.OriginX = destinationDC->GetViewportOrg().X;
    targets.OriginY = destinationDC->GetViewportOrg().Y;
    return targets;
}

bool FitsInt32(int64_t v) {
    return v >= INT32_MIN && v <= INT32_MAX;
}

// An angle turns the picture when it has a fraction or is not a whole
// number of turns. A non-finite angle turns nothing.
bool IsTurned(double angle) {
    return std::isfinite(angle) && std::fmod(angle, 360.0) != 0;
}

// The part of the target that the rectangle covers, or nothing.
std::optional<RECT> VisiblePart(const RenderTarget& target, int64_t left, int64_t top,
                                int64_t right, int64_t bottom) {
    left = std::max<int64_t>({left, target.Clip.Left, 0});
    top = std::max<int64_t>({top, target.Clip.Top, 0});
    right = std::min<int64_t>({right, target.Clip.Right, target.Pixels->Width()});
    bottom = std::min<int64_t>({bottom, target.Clip.Bottom, target.Pixels->Height()});
    if (right <= left || bottom <= top) {
        return std::nullopt;
    }
    return RECT{static_cast<int32_t>(left), static_cast<int32_t>(top), static_cast<int32_t>(right),
                static_cast<int32_t>(bottom)};
}

// `settings` lends its alpha type and drawing preferences; `source` holds the
// pixels (its own, or a copy when a surface draws onto itself).
bool RenderCore(const API32bppDIB& settings, const PixelBuffer& source, const RenderTarget& target,
                RenderArgs args) {
    if (args.opacity < 1) {
        return true;
    }
    const int64_t width = source.Width();
    const int64_t height = source.Height();
    if (args.destWidth == 0) {
        args.destWidth = width;
    }
    if (args.destHeight == 0) {
        args.destHeight = height;
    }
    args.srcX = std::max<int64_t>(args.srcX, 0);
    args.srcY = std::max<int64_t>(args.srcY, 0);
    // A negative source size asks for a mirror image.
    if (args.srcWidth == 0) {
        args.srcWidth = width;
    } else if (args.srcWidth < 0) {
        args.destWidth = -args.destWidth;
        args.srcWidth = -args.srcWidth;
    }
    if (args.srcHeight == 0) {
        args.srcHeight = height;
    } else if (args.srcHeight < 0) {
        args.destHeight = -args.destHeight;
        args.srcHeight = -args.srcHeight;
    }
    args.srcWidth = std::min(args.srcWidth, width - args.srcX);
    args.srcHeight = std::min(args.srcHeight, height - args.srcY);
    if (args.srcWidth < 1 || args.srcHeight < 1) {
        return false;
    }

    // Deliberate: opacity folds rather than clamps, so 150 draws at 50 and
    // 200 at 100.
    args.opacity %= 100;
    if (args.opacity == 0) {
        args.opacity = 100;
    }
    if (!(args.lightAdjustment >= -100 && args.lightAdjustment <= 100)) {
        args.lightAdjustment = 0;
    }
    const int64_t absWidth = std::abs(args.destWidth);
    const int64_t absHeight = std::abs(args.destHeight);
    if (args.centerOnDestXY) {
        args.destX -= absWidth / 2;
        args.destY -= absHeight / 2;
    }
    // Beyond 32 bits nothing could be visible or sampled sensibly.
    if (!FitsInt32(args.destX) || !FitsInt32(args.destY) || !FitsInt32(args.destX + absWidth) ||
        !FitsInt32(args.destY + absHeight) || !FitsInt32(absWidth) || !FitsInt32(absHeight)) {
        return false;
    }

    const RECT srcRect{static_cast<int32_t>(args.srcX), static_cast<int32_t>(args.srcY),
                       static_cast<int32_t>(args.srcX + args.srcWidth),
                       static_cast<int32_t>(args.srcY + args.srcHeight)};
    BlendOptions options{static_cast<uint8_t>(args.opacity * 255 / 100), args.grayScale,
                         args.lightAdjustment};
    const Sampling filter =
        settings.HighQualityInterpolation() ? Sampling::Bilinear : Sampling::Nearest;

    if (IsTurned(args.angle)) {
        const detail::RotatedDraw draw{args.angle,
                                       static_cast<int32_t>(args.destX),
                                       static_cast<int32_t>(args.destY),
                                       static_cast<int32_t>(args.destWidth),
                                       static_cast<int32_t>(args.destHeight),
                                       filter};
        return detail::RenderRotated(target, source, srcRect, draw, options);
    }

    const bool mirrored = args.destWidth <= 0 || args.destHeight < 0;
    const bool scaled = absWidth != args.srcWidth || absHeight != args.srcHeight;
    bool useAlphaBlend = false;
    if (!settings.KeepGDIplusActive() &&
        !(settings.isGDIplusEnabled() && settings.gdiToken() > 0) &&
        settings.isAlphaBlendFriendly() && !mirrored &&
        args.grayScale == ENUM_GRAY_SCALE_FORMULAS::GrayScaleNone && args.lightAdjustment == 0) {
        useAlphaBlend = !(scaled && settings.HighQualityInterpolation());
    }

    if (useAlphaBlend) {
        const RECT destRect{static_cast<int32_t>(args.destX), static_cast<int32_t>(args.destY),
                            static_cast<int32_t>(args.destX + absWidth),
                            static_cast<int32_t>(args.destY + absHeight)};
        const BlendFunction function{options.Alpha, settings.Alpha() > ENUM_ALPHA_TYPE::AlphaNone};
        return AlphaBlend(*target.Pixels, destRect, source, srcRect, function, target.Clip);
    }

    const PixelBuffer* from = &source;
    RECT fromArea = srcRect;
    PixelBuffer mirror;
    if (mirrored) {
        if (!detail::MirrorBits(source, srcRect, Mirror{args.destWidth < 0, args.destHeight < 0},
                                mirror)) {
            return false;
        }
        from = &mirror;
        fromArea = detail::WholeOf(mirror);
    }
    if (!scaled) {
        return detail::BlendBits(target, static_cast<int32_t>(args.destX),
                                 static_cast<int32_t>(args.destY), *from, fromArea, options);
    }

    // Only the part of the stretched picture that shows is computed.
    const std::optional<RECT> visible =
        VisiblePart(target, args.destX, args.destY, args.destX + absWidth, args.destY + absHeight);
    if (!visible) {
        return true;
    }
    const RECT inPicture{static_cast<int32_t>(visible->Left - args.destX),
                         static_cast<int32_t>(visible->Top - args.destY),
                         static_cast<int32_t>(visible->Right - args.destX),
                         static_cast<int32_t>(visible->Bottom - args.destY)};
    PixelBuffer stretched;
    if (!detail::StretchBits(*from, fromArea, static_cast<int32_t>(absWidth),
                             static_cast<int32_t>(absHeight), inPicture, filter, stretched)) {
        return false;
    }
    if (options.LightAdjustment != 0) {
        detail::LightAdjust(stretched, options.LightAdjustment);
        options.LightAdjustment = 0;
    }
    return detail::BlendBits(target, visible->Left, visible->Top, stretched,
                             detail::WholeOf(stretched), options);
}

int64_t Modulo(int64_t value, int64_t period) {
    const int64_t r = value % period;
    return r < 0 ? r + period : r;
}

// Each row of `band` repeats its first `filled` pixels to its end, by
// doubling the filled part.
void DoubleAcross(PixelBuffer& band, int32_t filled) {
    const int32_t width = band.Width();
    for (int32_t y = 0; y < band.Height(); ++y) {
        uint8_t* row = band.Row(y);
        for (int32_t done = filled; done < width;) {
            const int32_t n = std::min(done, width - done);
            std::memcpy(row + static_cast<size_t>(done) * 4, row, static_cast<size_t>(n) * 4);
            done += n;
        }
    }
}

}  // namespace

bool API32bppDIB::Render(Canvas* destinationDC, int32_t DestX, int32_t DestY, int32_t DestWidth,
                         int32_t DestHeight, int32_t srcX, int32_t srcY, int32_t srcWidth,
                         int32_t srcHeight, int32_t Opacity, bool Blend, bool SetHalfTone,
                         API32bppDIB* destHostDIB, ENUM_GRAY_SCALE_FORMULAS grayScale,
                         float LightAdjustment, double Angle, bool CenterOnDestXY) {
    // Blend has no effect on any path, and the stretch mode none on our
    // AlphaBlend (the host's ignores it too); both stay for callers.
    (void)Blend;
    (void)SetHalfTone;
    if (Opacity < 1) {
        return handle != 0;
    }
    if (handle == 0) {
        return false;
    }
    const std::optional<Targets> targets = TargetOf(destinationDC, destHostDIB);
    if (!targets) {
        return false;
    }
    PixelBuffer copy;
    const PixelBuffer* source = &pixels;
    // A surface drawn onto itself, directly or through its own canvas, reads
    // a copy.
    if (targets->Parts.front().Pixels == &pixels) {
        if (!detail::CopyBits(pixels, detail::WholeOf(pixels), copy)) {
            return false;
        }
        source = &copy;
    }
    RenderArgs args{DestX,     DestY,   DestWidth, DestHeight,      srcX,  srcY,          srcWidth,
                    srcHeight, Opacity, grayScale, LightAdjustment, Angle, CenterOnDestXY};
    args.destX += targets->OriginX;
    args.destY += targets->OriginY;
    bool drawn = true;
    for (const RenderTarget& target : targets->Parts) {
        drawn = RenderCore(*this, *source, target, args) && drawn;
    }
    return drawn;
}

Canvas* API32bppDIB::LoadDIBinDC(bool Load) {
    if (!Load) {
        if (!manageOwnDC) {
            ownDC.reset();
        }
        return nullptr;
    }
    if (handle == 0) {
        return nullptr;
    }
    if (!ownDC) {
        ownDC = std::make_shared<Canvas>(pixels);
    }
    return ownDC.get();
}

bool API32bppDIB::RenderDropShadow_JIT(Canvas* destinationDC, int32_t X, int32_t Y, int32_t Depth,
                                       OLE_COLOR Color, int32_t Opacity, float LightAdjustment,
                                       API32bppDIB* destHostDIB) const {
    const std::unique_ptr<API32bppDIB> shadow = CreateDropShadow(Depth, Color);
    if (!shadow) {
        return false;
    }
    return shadow->Render(destinationDC, X, Y, 0, 0, 0, 0, 0, 0, Opacity, true, true, destHostDIB,
                          ENUM_GRAY_SCALE_FORMULAS::GrayScaleNone, LightAdjustment);
}

bool API32bppDIB::TileImage(Canvas* destinationDC, int32_t X, int32_t Y, int32_t Width,
                            int32_t Height, int32_t TileWidth, int32_t TileHeight, int32_t OffsetX,
                            int32_t OffsetY, int32_t Opacity, bool Blend, bool FlipAlternateX,
                            bool FlipAlternateY, API32bppDIB* destHostDIB,
                            ENUM_GRAY_SCALE_FORMULAS grayScale, float LightAdjustment) {
    (void)Blend;
    if (handle == 0 || Width == 0 || Height == 0) {
        return false;
    }
    const std::optional<Targets> targets = TargetOf(destinationDC, destHostDIB);
    if (!targets) {
        return false;
    }
    if (Opacity < 1) {
        return true;
    }
    const int64_t areaX = int64_t{X} + targets->OriginX;
    const int64_t areaY = int64_t{Y} + targets->OriginY;
    // Each clip rectangle is tiled on its own; the pattern's phase comes from
    // the area's position, so the pieces join up.
    const auto tileOnto = [&](const RenderTarget& target) -> bool {
        // A negative tile size mirrors every tile.
        const int64_t tileWidth = TileWidth == 0 ? pixels.Width() : std::abs(int64_t{TileWidth});
        const int64_t tileHeight =
            TileHeight == 0 ? pixels.Height() : std::abs(int64_t{TileHeight});
        if (!FitsInt32(tileWidth) || !FitsInt32(tileHeight)) {
            return false;
        }
        const Mirror flip{TileWidth < 0, TileHeight < 0};

        // Only the part of the area that shows is assembled.
        const std::optional<RECT> visible =
            VisiblePart(target, areaX, areaY, areaX + std::abs(int64_t{Width}),
                        areaY + std::abs(int64_t{Height}));
        if (!visible) {
            return true;
        }
        RenderTarget area = target;
        area.Clip = *visible;

        // With alternate flips the pattern repeats every two tiles.
        const int64_t periodWidth = tileWidth * (FlipAlternateX ? 2 : 1);
        const int64_t periodHeight = tileHeight * (FlipAlternateY ? 2 : 1);
        const int64_t phaseX = Modulo(int64_t{OffsetX} + (visible->Left - areaX), periodWidth);
        const int64_t phaseY = Modulo(int64_t{OffsetY} + (visible->Top - areaY), periodHeight);

        PixelBuffer copy;
        const PixelBuffer* source = &pixels;
        if (target.Pixels == &pixels) {
            if (!detail::CopyBits(pixels, detail::WholeOf(pixels), copy)) {
                return false;
            }
            source = &copy;
        }

        RenderArgs args;
        args.opacity = Opacity;
        args.grayScale = grayScale;
        args.lightAdjustment = LightAdjustment;
        if (phaseX + visible->Width() <= tileWidth && phaseY + visible->Height() <= tileHeight) {
            // The visible part lies within one tile: draw that tile, clipped.
            args.destX = visible->Left - phaseX;
            args.destY = visible->Top - phaseY;
            args.destWidth = flip.X ? -tileWidth : tileWidth;
            args.destHeight = flip.Y ? -tileHeight : tileHeight;
            return RenderCore(*this, *source, area, args);
        }

        // One tile at full strength; the final draw applies opacity and colour.
        PixelBuffer tile;
        if (!tile.Allocate(static_cast<int32_t>(tileWidth), static_cast<int32_t>(tileHeight))) {
            return false;
        }
        RenderArgs tileArgs;
        tileArgs.destWidth = flip.X ? -tileWidth : tileWidth;
        tileArgs.destHeight = flip.Y ? -tileHeight : tileHeight;
        if (!RenderCore(*this, *source, RenderTarget{&tile, detail::WholeOf(tile), true},
                        tileArgs)) {
            return false;
        }

        // The pattern's period: the tile, with its mirror images beside and
        // below it for alternate flips.
        PixelBuffer period;
        if (FlipAlternateX || FlipAlternateY) {
            if (!period.Allocate(static_cast<int32_t>(periodWidth),
                                 static_cast<int32_t>(periodHeight))) {
                return false;
            }
            const RECT whole = detail::WholeOf(tile);
            detail::PutBits(tile, whole, period, 0, 0);
            const struct {
                bool use;
                Mirror mirror;
                int32_t x, y;
            } copies[] = {
                {FlipAlternateX, Mirror{true, false}, tile.Width(), 0},
                {FlipAlternateY, Mirror{false, true}, 0, tile.Height()},
                {FlipAlternateX && FlipAlternateY, Mirror{true, true}, tile.Width(), tile.Height()},
            };
            for (const auto& c : copies) {
                PixelBuffer mirrored;
                if (!c.use) {
                    continue;
                }
                if (!detail::MirrorBits(tile, whole, c.mirror, mirrored)) {
                    return false;
                }
                detail::PutBits(mirrored, whole, period, c.x, c.y);
            }
        } else {
            period.Swap(tile);
        }

        // A band of the pattern as wide as the visible part from its phase,
        // filled across by doubling, then copied down row by row.
        const int64_t bandWidth = phaseX + visible->Width();
        const int64_t bandHeight = std::min<int64_t>(periodHeight, phaseY + visible->Height());
        PixelBuffer band;
        if (!FitsInt32(bandWidth) ||
            !band.Allocate(static_cast<int32_t>(bandWidth), static_cast<int32_t>(bandHeight))) {
            return false;
        }
        const int32_t firstCopy = static_cast<int32_t>(std::min(periodWidth, bandWidth));
        detail::PutBits(period, RECT{0, 0, firstCopy, static_cast<int32_t>(bandHeight)}, band, 0,
                        0);
        DoubleAcross(band, firstCopy);

        PixelBuffer assembled;
        if (!assembled.Allocate(visible->Width(), visible->Height())) {
            return false;
        }
        const size_t rowBytes = static_cast<size_t>(visible->Width()) * 4;
        for (int32_t y = 0; y < visible->Height(); ++y) {
            const int32_t from = static_cast<int32_t>(Modulo(phaseY + y, periodHeight));
            std::memcpy(assembled.Row(y), band.Pixel(static_cast<int32_t>(phaseX), from), rowBytes);
        }
        args.destX = visible->Left;
        args.destY = visible->Top;
        return RenderCore(*this, assembled, area, args);
    };
    bool drawn = true;
    for (const RenderTarget& target : targets->Parts) {
        drawn = tileOnto(target) && drawn;
    }
    return drawn;
}

}  // namespace kelvara
