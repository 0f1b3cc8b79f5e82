/// The core library in one include: counting, statuses, strings, files, products, progress, streams,
/// dates and the log.
#pragma once

#include <VKCoreKit/CBaseCore.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKDate.h>
#include <VKCoreKit/VKFileBookmark.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKCoreKit/VKFolderReader.h>
#include <VKCoreKit/VKLog.h>
#include <VKCoreKit/VKMachine.h>
#include <VKCoreKit/VKNetwork.h>
#include <VKCoreKit/VKProcess.h>
#include <VKCoreKit/VKProduct.h>
#include <VKCoreKit/VKProgress.h>
#include <VKCoreKit/VKStatus.h>
#include <VKCoreKit/VKStopwatch.h>
#include <VKCoreKit/VKStream.h>
#include <VKCoreKit/VKString.h>
#include <VKCoreKit/VKTypes.h>
#include <VKCoreKit/VKUtils.h>
#include <VKCoreKit/VKVolumes.h>
