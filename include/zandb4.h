// ZanDB4: the database layer of the photo application. Include this header
// for the whole public interface: types, containers, value types,
// identifiers, interfaces and the exported functions.
#pragma once

#include "zandb4/types.h"
#include "zandb4/containers.h"
#include "zandb4/foundation.h"
#include "zandb4/forward.h"
#include "zandb4/identifiers.h"
#include "zandb4/records.h"
#include "zandb4/catalogue.h"
#include "zandb4/caches.h"
#include "zandb4/faces.h"
#include "zandb4/albums.h"
#include "zandb4/gps.h"
#include "zandb4/logs.h"
#include "zandb4/maintenance.h"
#include "zandb4/camera.h"
#include "zandb4/exports.h"
