#include "Global/ThumbPlaceholder.hpp"
#include "ThumbGenerator/OwnGenerators.hpp"
#include "ThumbGenerator/SharedThumbnails.hpp"
#include "ThumbGenerator/ThumbnailAccess.hpp"
#include "ThumbGenerator/ThumbnailCache.hpp"
#include "picture/ThumbnailSize.hpp"
#include "utility/Text.hpp"

#include <orv/ThumbGenerator/Generators.hpp>
#include <orv/ThumbGenerator/OrvThumbnail.hpp>
#include <orv/utility/Error.hpp>

#include <algorithm>
#include <mutex>
#include <utility>

namespace orv {
namespace {

constexpr std::size_t first_cache_size = std::size_t{64} << 20;

using Generators = std::map<std::string, OrvThumbnail::Generator>;

const Generators& further_by_extension()
{
    static const auto* generators = [] {
        auto* all = new Generators;
        for (const auto& generator : further_generators())
            for (const std::string& extension : generator->supportedExtensions())
                all->emplace(extension, generator);
        return all;
    }();
    return *generators;
}

Preview placeholder_preview()
{
    const Picture& placeholder = intr_thumb_placeholder();
    return {placeholder, placeholder.width(), placeholder.height()};
}

/// True for pictures without a size of their own.
bool is_scalable(DecodedKind kind)
{
    return kind.medium == Medium::pdf_page || kind.medium == Medium::drawing;
}

/// A shared picture of the file, or else a new one, shared from now on.
Preview shared_preview_of(const Url& url, const FileVersion& version, DecodedKind kind,
                          SizeWanted wanted, const SharedThumbnails& shared,
                          const std::stop_token& stop)
{
    wanted.delivery = is_scalable(kind) ? Delivery::shared_of_any_size : Delivery::shared;
    if (auto found = shared.find(url, version, wanted))
        return *std::move(found);
    Preview made = decoded_preview(url, kind, wanted, stop);
    shared.store(url, version, made, wanted);
    return made;
}

/// The generator's picture of the file, or a shared one. An application's own generator may throw
/// anything.
Preview preview_for(const ThumbnailKey& key, std::optional<DecodedKind> kind,
                    const SharedThumbnails* shared, const std::stop_token& stop)
{
    if (!kind)
        return key.generator->preview(key.url, key.wanted.width, key.wanted.height);
    if (shared)
        return shared_preview_of(key.url, key.version, *kind, key.wanted, *shared, stop);
    return decoded_preview(key.url, *kind, key.wanted, stop);
}

Picture scaled(const Preview& preview, SizeWanted wanted)
{
    const Picture& picture = preview.picture;
    const PictureSize size = thumbnail_size({preview.full_width, preview.full_height}, wanted);
    if (size == PictureSize{picture.width(), picture.height()})
        return picture;
    return picture.scale_image(size.width, size.height).value_or(picture);
}

Picture recompressed(const Picture& picture, double quality)
{
    constexpr std::uint32_t longest_of_jpeg = 65'500;
    if (std::max(picture.width(), picture.height()) > longest_of_jpeg)
        return picture;
    return Picture::from_jpeg(picture.jpeg(quality));
}

Picture finished(const Preview& preview, SizeWanted wanted, double quality)
{
    Picture thumb = scaled(preview, wanted);
    return quality < 1 ? recompressed(thumb, quality) : thumb;
}

/// A picture of a file, or the placeholder and the reason for it.
struct Making {
    Preview preview;
    std::optional<Error> failure;
};

/// Calls `make`; it may throw anything.
template <class Make>
Making made_by(const Make& make, const std::stop_token& stop)
{
    const auto failed = [](const Error& error) { return Making{placeholder_preview(), error}; };
    try {
        Preview preview = make();
        if (preview.picture.is_empty() || preview.picture.is_same(intr_thumb_placeholder()))
            return failed(Error("What makes pictures of such files has none of this one.")
                              .known_as(Cause::damaged));
        return {std::move(preview), std::nullopt};
    } catch (const Error& error) {
        return failed(error);
    } catch (const std::exception& error) {
        return failed(Error(error.what()));
    } catch (...) {
        if (stop.stop_requested())
            throw Exception();
        return failed(Error("What makes pictures of such files failed.").known_as(Cause::failed));
    }
}

} // namespace

struct OrvThumbnail::Content {
    mutable std::mutex mutex; ///< the sources below, up to the cache
    Generators generators;
    double quality = 1;
    std::shared_ptr<const SharedThumbnails> shared; ///< none while the folder is off

    ThumbnailCache cache{first_cache_size};

    /// The current maker of the file's thumbnail; null if there is none.
    [[nodiscard]] std::pair<Generator, double> maker_for(const Url& url, Formats formats) const;

    /// The generators of these formats.
    [[nodiscard]] Generators with(Formats formats) const;

    [[nodiscard]] Error no_generator(Formats formats) const;

    [[nodiscard]] std::shared_ptr<const SharedThumbnails> shared_now() const;
};

std::pair<OrvThumbnail::Generator, double> OrvThumbnail::Content::maker_for(const Url& url,
                                                                            Formats formats) const
{
    const std::string extension = lower_case(url.path_extension());
    const std::lock_guard lock(mutex);
    if (const auto found = generators.find(extension); found != generators.end())
        return {found->second, quality};
    const auto found = further_by_extension().find(extension);
    const bool is_served = formats == Formats::all && found != further_by_extension().end();
    return {is_served ? found->second : nullptr, quality};
}

std::shared_ptr<const SharedThumbnails> OrvThumbnail::Content::shared_now() const
{
    const std::lock_guard lock(mutex);
    return shared;
}

Generators OrvThumbnail::Content::with(Formats formats) const
{
    const std::lock_guard lock(mutex);
    Generators all = generators;
    if (formats == Formats::all)
        all.insert(further_by_extension().begin(), further_by_extension().end());
    return all;
}

Error OrvThumbnail::Content::no_generator(Formats formats) const
{
    std::string known;
    for (const auto& [extension, generator] : with(formats))
        known += (known.empty() ? "" : ", ") + extension;
    return Error("Only files named as one of these kinds have thumbnails: " + known + ".")
        .known_as(Cause::unsupported);
}

OrvThumbnail& OrvThumbnail::singleton()
{
    static auto* registry = new OrvThumbnail;
    return *registry;
}

OrvThumbnail::OrvThumbnail() : content_(std::make_unique<Content>())
{
    addThumbnailGenerator(std::make_shared<ImageThumbnailGenerator>());
    addThumbnailGenerator(std::make_shared<PDFThumbnailGenerator>());
    addThumbnailGenerator(std::make_shared<VideoThumbnailGenerator>());
}

void OrvThumbnail::addThumbnailGenerator(const Generator& generator)
{
    if (!generator)
        throw Error("There is no thumbnail generator to add.");
    std::vector<Generator> replaced; // destroyed without the lock
    const std::vector<std::string> extensions = generator->supportedExtensions();
    const std::lock_guard lock(content_->mutex);
    for (const std::string& extension : extensions) {
        Generator& place = content_->generators[lower_case(extension)];
        replaced.push_back(std::exchange(place, generator));
    }
}

std::map<std::string, OrvThumbnail::Generator> OrvThumbnail::supportedFiletypes() const
{
    return content_->with(Formats::registered);
}

void OrvThumbnail::add_further_formats()
{
    Generators all = content_->with(Formats::all);
    const std::lock_guard lock(content_->mutex);
    content_->generators.merge(all); // leaves earlier ones in place
}

double OrvThumbnail::imageQuality() const
{
    const std::lock_guard lock(content_->mutex);
    return content_->quality;
}

void OrvThumbnail::set_image_quality(double quality)
{
    const std::lock_guard lock(content_->mutex);
    // No number counts as the best quality.
    content_->quality = quality < 1 ? std::max(quality, 0.0) : 1;
}

void OrvThumbnail::set_cache_size(std::size_t bytes)
{
    content_->cache.set_limit(bytes);
}

void OrvThumbnail::use_shared_folder(bool use)
{
    const auto shared = use ? std::make_shared<SharedThumbnails>() : nullptr;
    const std::lock_guard lock(content_->mutex);
    content_->shared = shared;
}

OrvThumbnail::Thumbnail OrvThumbnail::getThumbnail(const Url& url,
                                                   std::optional<std::uint32_t> resize_width,
                                                   std::optional<std::uint32_t> resize_height)
{
    MadeThumbnail made =
        ThumbnailAccess::make(url, {resize_width, resize_height}, Formats::registered, {}, {});
    return {std::move(made.thumb), made.failure.has_value()};
}

MadeThumbnail ThumbnailAccess::make(const Url& url, SizeWanted wanted, Formats formats,
                                    std::shared_ptr<const SharedThumbnails> shared,
                                    const std::stop_token& stop)
{
    OrvThumbnail::Content& content = *OrvThumbnail::singleton().content_;
    const auto [generator, quality] = content.maker_for(url, formats);
    if (!generator)
        return placeholder(wanted, content.no_generator(formats).at(url));

    const std::optional<DecodedKind> kind = kind_of(*generator);
    if (wanted.fit == Fit::within && kind && is_scalable(*kind))
        wanted.fit = Fit::filling;
    const std::optional<FileVersion> version = version_of(url);
    ThumbnailKey key{url, version.value_or(FileVersion()), wanted, quality, generator};
    if (auto kept = content.cache.find(key))
        return {std::move(*kept), std::nullopt};

    if (!shared)
        shared = content.shared_now();
    if (!kind || !version || (shared && !shared->may_serve(url)))
        shared.reset();
    const Making made = made_by([&] { return preview_for(key, kind, shared.get(), stop); }, stop);
    Picture thumb = finished(made.preview, wanted, quality);
    if (version && !made.failure)
        content.cache.insert(std::move(key), thumb);
    return {std::move(thumb), made.failure ? std::optional(made.failure->at(url)) : std::nullopt};
}

MadeThumbnail ThumbnailAccess::placeholder(SizeWanted wanted, Error failure)
{
    const double quality = OrvThumbnail::singleton().imageQuality();
    return {finished(placeholder_preview(), wanted, quality), std::move(failure)};
}

} // namespace orv
