#include "Global/ThumbPlaceholder.hpp"
#include "ThumbGenerator/OwnGenerators.hpp"
#include "ThumbGenerator/SharedThumbnails.hpp"
#include "ThumbGenerator/ThumbnailCache.hpp"
#include "picture/ThumbnailSize.hpp"

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

std::string in_lower_case(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

Preview placeholder_preview()
{
    const Picture& placeholder = intr_thumb_placeholder();
    return {placeholder, placeholder.width(), placeholder.height()};
}

/// A shared picture of the file, else one that is made, and shared from now on.
Preview shared_preview_of(const Url& url, const FileVersion& version, Medium medium,
                          SizeWanted wanted, const SharedThumbnails& shared,
                          const std::stop_token& stop)
{
    wanted.delivery = medium == Medium::pdf_page ? Delivery::shared_of_any_size : Delivery::shared;
    if (auto found = shared.find(url, version, wanted))
        return *std::move(found);
    Preview made = decoded_preview(url, medium, wanted, stop);
    if (!made.picture.is_same(intr_thumb_placeholder()))
        shared.store(url, version, made, wanted);
    return made;
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

} // namespace

struct OrvThumbnail::Content {
    mutable std::mutex mutex; ///< of what follows, up to the cache
    Generators generators;
    double quality = 1;
    std::shared_ptr<const SharedThumbnails> shared; ///< none while the folder is not used

    ThumbnailCache cache{first_cache_size};

    /// What makes the thumbnail of a file, as things stand.
    [[nodiscard]] std::pair<Generator, double> maker_for(const Url& url) const;

    /// What the generator makes of the file, or another program made of it. An application's own
    /// generator may throw anything.
    [[nodiscard]] Preview preview_for(const ThumbnailKey& key, bool has_version,
                                      const std::stop_token& stop) const;

    [[nodiscard]] std::shared_ptr<const SharedThumbnails> shared_now() const;
};

std::pair<OrvThumbnail::Generator, double> OrvThumbnail::Content::maker_for(const Url& url) const
{
    const std::string extension = in_lower_case(url.path_extension());
    const std::lock_guard lock(mutex);
    const auto found = generators.find(extension);
    return {found == generators.end() ? nullptr : found->second, quality};
}

std::shared_ptr<const SharedThumbnails> OrvThumbnail::Content::shared_now() const
{
    const std::lock_guard lock(mutex);
    return shared;
}

Preview OrvThumbnail::Content::preview_for(const ThumbnailKey& key, bool has_version,
                                           const std::stop_token& stop) const
{
    const auto made = [&] {
        const std::optional<Medium> medium = medium_of(*key.generator);
        if (!medium)
            return key.generator->preview(key.url, key.wanted.width, key.wanted.height);
        const auto folder = shared_now();
        const bool is_shared = folder && has_version && folder->may_serve(key.url);
        return is_shared
                   ? shared_preview_of(key.url, key.version, *medium, key.wanted, *folder, stop)
                   : decoded_preview(key.url, *medium, key.wanted, stop);
    };
    try {
        Preview preview = made();
        if (!preview.picture.is_empty())
            return preview;
    } catch (...) {
        if (stop.stop_requested())
            throw Exception();
    }
    return placeholder_preview();
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
    std::vector<Generator> replaced; // destroyed without the lock
    const std::vector<std::string> extensions = generator->supportedExtensions();
    const std::lock_guard lock(content_->mutex);
    for (const std::string& extension : extensions) {
        Generator& place = content_->generators[in_lower_case(extension)];
        replaced.push_back(std::exchange(place, generator));
    }
}

std::map<std::string, OrvThumbnail::Generator> OrvThumbnail::supportedFiletypes() const
{
    const std::lock_guard lock(content_->mutex);
    return content_->generators;
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
                                                   std::optional<std::uint32_t> resize_height,
                                                   const std::stop_token& stop)
{
    auto [generator, quality] = content_->maker_for(url);
    if (!generator)
        generator = std::make_shared<DefaultThumbnailGenerator>();
    const SizeWanted wanted{resize_width, resize_height};

    const std::optional<FileVersion> version = version_of(url);
    ThumbnailKey key{url, version.value_or(FileVersion()), wanted, quality, generator};
    if (auto kept = content_->cache.find(key))
        return {std::move(*kept), false};

    const Preview preview = content_->preview_for(key, version.has_value(), stop);
    const bool is_placeholder = preview.picture.is_same(intr_thumb_placeholder());
    Picture thumb = scaled(preview, wanted);
    if (quality < 1)
        thumb = recompressed(thumb, quality);
    if (version && !is_placeholder)
        content_->cache.insert(std::move(key), thumb);
    return {std::move(thumb), is_placeholder};
}

} // namespace orv
