#include <Programs/mirel/Extras/ExtrasText.h>

#include <Programs/mirel/Text/Utf8.h>

#include <charconv>

namespace mirel {

namespace {

std::string Quoted(const std::string& text) {
  std::string quoted;
  Utf8::AppendQuoted(quoted, text);
  return quoted;
}

template <typename Real>
std::string Text(Real value) {
  char digits[32];
  return std::string(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

template <typename Vector>
std::string TextOf(const Vector& vector) {
  return Text(vector[0]) + " " + Text(vector[1]) + " " + Text(vector[2]);
}

std::string NameOf(const Extras::Ids& ids) {
  std::string text;
  for (const ObjectId& id : ids) {
    text += (text.empty() ? "" : " or ") + id.toString();
  }
  return text;
}

class Lines {
 public:
  void AddItem(const Extras::Item& item) {
    std::string name = "item " + NameOf(item.ids);
    const char* separator = " within ";
    for (const Extras::Ids& ids : item.within) {
      name += separator + NameOf(ids);
      separator = ", ";
    }
    if (item.hidden) {
      Add(name, "hidden");
    }
    if (item.alpha) {
      Add(name, "alpha " + Text(*item.alpha));
    }
    if (item.curveColor) {
      Add(name, "edges color " + TextOf(*item.curveColor));
    }
    AddCommon(name, item);
    for (const auto& [face, alpha] : item.faceAlphas) {
      Add(name, "face " + std::to_string(face) + " alpha " + Text(alpha));
    }
    for (const auto& [edge, color] : item.edgeColors) {
      Add(name, "edge " + std::to_string(edge) + " color " + TextOf(color));
    }
    for (const std::uint32_t face : item.hiddenFaces) {
      Add(name, "face " + std::to_string(face) + " hidden");
    }
    for (const std::uint32_t edge : item.hiddenEdges) {
      Add(name, "edge " + std::to_string(edge) + " hidden");
    }
    for (const Extras::Part& part : item.parts) {
      const std::string place = name + ": " + part.kind + " " + std::to_string(part.index);
      if (!part.name.empty()) {
        Add(place, "name " + Quoted(part.name));
      }
      AddCommon(place, part);
    }
  }

  void Add(const std::string& subject, const std::string& what) { text_ += subject + ": " + what + "\n"; }

  const std::string& GetText() const { return text_; }

 private:
  void AddCommon(const std::string& name, const Extras::Common& common) {
    for (const std::string& layer : common.layers) {
      Add(name, "layer " + Quoted(layer));
    }
    if (common.material) {
      const Extras::Material& material = *common.material;
      Add(name, "material " + Quoted(material.name) + " " + Quoted(material.description) +
                    (material.density ? " density " + Text(*material.density) : std::string()));
    }
    if (common.properties.volume) {
      Add(name, "volume " + Text(*common.properties.volume));
    }
    if (common.properties.area) {
      Add(name, "area " + Text(*common.properties.area));
    }
    if (common.properties.centroid) {
      Add(name, "centroid " + TextOf(*common.properties.centroid));
    }
  }

  std::string text_;
};

}  // namespace

std::string ExtrasText::Of(const Extras& extras) {
  Lines lines;
  for (const auto& [key, values] : extras.header) {
    for (const std::string& value : values) {
      lines.Add("header " + Utf8::Printable(key), Quoted(value));
    }
  }
  for (const Extras::Layer& layer : extras.layers) {
    lines.Add("layer " + Quoted(layer.name), layer.hidden ? "hidden" : "shown");
  }
  for (const Extras::Item& item : extras.items) {
    lines.AddItem(item);
  }
  return lines.GetText();
}

}  // namespace mirel
