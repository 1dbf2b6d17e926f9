// Objects of Pango and Cairo that their owner gives back.
#pragma once

#include <pango/pangocairo.h>

#include <memory>

namespace vexcap::pango {

template <auto function>
struct Release {
    void operator()(auto* object) const { function(object); }
};
template <typename Type>
using Object = std::unique_ptr<Type, Release<g_object_unref>>;
using FontOptions = std::unique_ptr<cairo_font_options_t, Release<cairo_font_options_destroy>>;
using FontDescription = std::unique_ptr<PangoFontDescription, Release<pango_font_description_free>>;
using Surface = std::unique_ptr<cairo_surface_t, Release<cairo_surface_destroy>>;
using Pen = std::unique_ptr<cairo_t, Release<cairo_destroy>>;

}  // namespace vexcap::pango
