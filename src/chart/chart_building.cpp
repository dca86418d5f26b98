#include "chart/chart_building.h"

#include <utility>

namespace tarvel {

owned_record<chart> make_chart(owned_text title, owned_text x_title, owned_text y_title) {
  owned_record<chart> made = chart_new();
  if (!made || !title || !x_title || !y_title) return nullptr;
  made->title = std::move(title);
  made->x_title = std::move(x_title);
  made->y_title = std::move(y_title);
  return made;
}

bool add_series(chart &target, owned_record<series> curve, series_style style, std::uint32_t colour, owned_text label) {
  if (!curve) return false;
  curve->style = style;
  curve->colour = colour;
  curve->label = std::move(label);
  chart_add_series(target, std::move(curve));
  return true;
}

bool name_after_run(series &curve, const swoop &run) {
  if (!run.file) return true;
  curve.name = try_duplicate(run.file.get());
  return curve.name != nullptr;
}

}  // namespace tarvel
