#pragma once

#include <nlohmann/json.hpp>

#include "machine/journal/image.hpp"
#include "machine/journal/origin.hpp"

/// The parts of a journal's records as JSON. Reading throws a std::exception for what writing did
/// not write.
namespace machine::journal {

nlohmann::ordered_json toJson(Item const& item);
Item itemFrom(nlohmann::ordered_json const& json);

nlohmann::ordered_json toJson(Image const& image);
Image imageFrom(nlohmann::ordered_json const& json);

/// {"computer":{"name":NAME,"id":NAME},"account":{"name":NAME,"id":NAME}}
nlohmann::ordered_json toJson(Origin const& origin);
Origin originFrom(nlohmann::ordered_json const& json);

nlohmann::ordered_json toJson(HandOver const& handOver);
HandOver handOverFrom(nlohmann::ordered_json const& json);

}  // namespace machine::journal
