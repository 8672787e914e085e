#pragma once

// The whole support library in one include. Every header below also stands alone.

#include "support/ASColor.h"
#include "support/ASImage.h"
#include "support/ASLog.h"
#include "support/ASPlatform.h"
#include "support/ASSync.h"
#include "support/ASSystem.h"
#include "support/CASDrawGraphic.h"
#include "support/CASFile.h"
#include "support/CASFileManager.h"
#include "support/CASFont.h"
#include "support/CASLocalizedStrings.h"
#include "support/CASMemoryPool.h"
#include "support/CASMessageQueue.h"
#include "support/CASObject.h"
#include "support/CASQueue.h"
#include "support/CASResourceLoad.h"
#include "support/CASThread.h"
#include "support/CGContext.h"
#include "support/CGImage.h"
#include "support/MPSemaphore.h"
