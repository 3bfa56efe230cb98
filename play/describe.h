/* The objects of the list as the studio's page shows them; docs/studio.md tells the members. */
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <play/stage.h>

/* In the order in which a frame draws them, after a frame. */
nlohmann::json describe_objects(const Stage &stage);
