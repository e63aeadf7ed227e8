#pragma once

#include <orv/ThumbGenerator/ThumbnailQueue.hpp>
#include <orv/integrations/gio.hpp>
#include <orv/utility/MainQueue.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include <gtk/gtk.h>

namespace orv {

/// The picture as a texture, a reference for the caller to own. Both share the pixels.
///
/// Threading: main thread.
/// Errors: none; null for a picture of no size.
inline GdkTexture* to_texture(const Picture& picture)
{
    if (picture.is_empty())
        return nullptr;
    auto kept = std::make_unique<Picture>(picture);
    const auto rgba = kept->rgba();
    const std::unique_ptr<GBytes, decltype(&g_bytes_unref)> bytes(
        g_bytes_new_with_free_func(
            rgba.data(), rgba.size(), [](gpointer held) { delete static_cast<Picture*>(held); },
            kept.release()),
        &g_bytes_unref);
    return gdk_memory_texture_new(static_cast<int>(picture.width()),
                                  static_cast<int>(picture.height()), GDK_MEMORY_R8G8B8A8,
                                  bytes.get(), std::size_t{4} * picture.width());
}

/// Thumbnails for the rows of a list widget over a `GtkFolderModel`. Call `show` where the widget's
/// factory binds a row, and `hide` where it unbinds one. Needs GTK 4.
///
/// Threading: main thread, beside a `GlibAttachment`.
class GtkThumbnails {
public:
    /// `edge_pixels` is the edge of the square around a thumbnail.
    explicit GtkThumbnails(int edge_pixels)
        : queue_({static_cast<std::uint32_t>(edge_pixels), static_cast<std::uint32_t>(edge_pixels)},
                 {}, [this](const ThumbnailQueue::Made& made) { take(made); })
    {
    }
    GtkThumbnails(const GtkThumbnails&) = delete;
    GtkThumbnails& operator=(const GtkThumbnails&) = delete;

    /// Shows the icon of a row's item in the image, and its thumbnail as soon as there is one. The
    /// row's number decides the order.
    void show(GtkImage* image, GFileInfo* info, guint row)
    {
        gtk_image_set_from_gicon(image, g_file_info_get_icon(info));
        auto* file = static_cast<GFile*>(
            static_cast<void*>(g_file_info_get_attribute_object(info, "standard::file")));
        if (g_file_info_get_file_type(info) != G_FILE_TYPE_REGULAR)
            return;
        Shown shown{*from_gfile(file), row, version_of(info)};
        const auto known = textures_.find(shown.url);
        if (known != textures_.end() && known->second.version == shown.version)
            set(image, known->second.texture.get());
        else
            wish(image, std::move(shown));
    }

    /// The image shows another row from now on, or none.
    void hide(GtkImage* image)
    {
        if (shown_.erase(image) > 0)
            set_wishes_soon();
    }

private:
    struct Unreference {
        void operator()(GdkTexture* texture) const { g_object_unref(texture); }
    };
    struct Version {
        guint64 time = 0;
        goffset size = 0;
        friend bool operator==(const Version&, const Version&) = default;
    };
    struct Shown {
        Url url;
        guint row = 0;
        Version version;
    };
    /// Null for a file without a thumbnail.
    struct Made {
        std::unique_ptr<GdkTexture, Unreference> texture;
        Version version;
    };

    static Version version_of(GFileInfo* info)
    {
        return {g_file_info_get_attribute_uint64(info, G_FILE_ATTRIBUTE_TIME_MODIFIED),
                g_file_info_get_size(info)};
    }

    static void set(GtkImage* image, GdkTexture* texture)
    {
        if (texture)
            gtk_image_set_from_paintable(image,
                                         static_cast<GdkPaintable*>(static_cast<void*>(texture)));
    }

    void wish(GtkImage* image, Shown shown)
    {
        if (textures_.erase(shown.url) > 0)
            changed_.push_back(shown.url);
        shown_[image] = std::move(shown);
        set_wishes_soon();
    }

    /// Once for all rows of this turn of the loop.
    void set_wishes_soon()
    {
        if (std::exchange(is_due_, true))
            return;
        main_async([this, alive = std::weak_ptr<int>(lifetime_)] {
            if (!alive.expired())
                set_wishes();
        });
    }

    void set_wishes()
    {
        is_due_ = false;
        std::vector<const Shown*> in_order;
        for (const auto& [image, shown] : shown_)
            in_order.push_back(&shown);
        std::sort(in_order.begin(), in_order.end(),
                  [](const Shown* a, const Shown* b) { return a->row < b->row; });
        std::vector<Url> wishes;
        for (const Shown* shown : in_order)
            wishes.push_back(shown->url);
        queue_.set_wishes(wishes);
        for (const Url& url : std::exchange(changed_, {}))
            queue_.renew(url);
    }

    void take(const ThumbnailQueue::Made& made)
    {
        constexpr std::size_t most_textures = 2000;
        if (textures_.size() >= most_textures)
            textures_.clear();
        Made& kept = textures_[made.url];
        kept.texture.reset(made.is_placeholder ? nullptr : to_texture(made.thumb));
        for (auto shown = shown_.begin(); shown != shown_.end();) {
            const bool is_meant = shown->second.url == made.url;
            if (is_meant) {
                kept.version = shown->second.version;
                set(shown->first, kept.texture.get());
            }
            shown = is_meant ? shown_.erase(shown) : std::next(shown);
        }
    }

    std::unordered_map<GtkImage*, Shown> shown_; // rows in wait for a thumbnail
    std::unordered_map<Url, Made> textures_;
    std::vector<Url> changed_; // the queue may have delivered a former content
    bool is_due_ = false;
    std::shared_ptr<int> lifetime_ = std::make_shared<int>(0);
    ThumbnailQueue queue_; // goes first
};

} // namespace orv
