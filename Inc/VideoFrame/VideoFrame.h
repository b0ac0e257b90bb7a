// Everything that a host includes.
#pragma once

#include "EffectWorld.h"
#include "FrameInterfaces.h"
#include "FrameLayout.h"
#include "Lifecycle.h"
#include "MultiCamRendering.h"
#include "PixelFormatUtilities.h"
#include "Quantisation.h"
#include "Raster.h"
#include "RasterTools.h"
#include "SharedVideoFrameCache.h"
#include "Status.h"
#include "TPix.h"
#include "TPixBridge.h"
#include "VideoFrameFactory.h"
#include "VideoFrameManipulators.h"
#include "VideoFrameSharing.h"
