// Everything that a host may use. Hosts in a hurry include this; the others name the headers whose classes they use.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include "VeskLoopManagement/platform/audiofile/AudioFile.h"
#include "VeskLoopManagement/platform/audiofile/AudioFileLayout.h"
#include "VeskLoopManagement/platform/audiofile/ByteSource.h"
#include "VeskLoopManagement/platform/audiofile/MemoryBytes.h"
#include "VeskLoopManagement/platform/Environment.h"
#include "VeskLoopManagement/platform/Notifications.h"
#include "VeskLoopManagement/platform/PropertyList.h"
#include "VeskLoopManagement/platform/Text.h"
#include "VeskLoopManagement/platform/URL.h"

#include "VeskLoopManagement/resources/LCCompiledResources.h"
#include "VeskLoopManagement/resources/VeskLoopManagementVersion.h"

#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/model/LCLocalizedKeyword.h"
#include "VeskLoopManagement/model/LCMetaInfo.h"
#include "VeskLoopManagement/model/LCMusicalKey.h"
#include "VeskLoopManagement/model/LCNodeTypesHelper.h"
#include "VeskLoopManagement/model/LCTimeSignature.h"
#include "VeskLoopManagement/model/LCVireoLoopType.h"

#include "VeskLoopManagement/fileio/LCChunkIDs.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"
#include "VeskLoopManagement/fileio/LCRexFileParser.h"
#include "VeskLoopManagement/fileio/MurmurHash.h"

#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCCrateManager.h"
#include "VeskLoopManagement/database/LCDatabaseConfiguration.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCPathUtilities.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/database/LCStatement.h"

#include "VeskLoopManagement/loudness/LCLoopLoudnessInfo.h"
#include "VeskLoopManagement/loudness/LCLoudnessDatabase.h"
#include "VeskLoopManagement/loudness/LCMetaInfoDatabase.h"

#include "VeskLoopManagement/indexing/LCFileIndexing.h"

#include "VeskLoopManagement/search/LCSearchEngine.h"
#include "VeskLoopManagement/search/LCSearchEngineDesktop.h"
#include "VeskLoopManagement/search/LCSearchEngineFile.h"
#include "VeskLoopManagement/search/LCSearchEngineMobile.h"
#include "VeskLoopManagement/search/LCSearchKey.h"
#include "VeskLoopManagement/search/LCSearchRestrictions.h"
#include "VeskLoopManagement/search/SearchState.h"

#include "VeskLoopManagement/catalog/LCCatalog.h"
#include "VeskLoopManagement/catalog/LCCatalogLoop.h"
#include "VeskLoopManagement/catalog/LCFailure.h"
#include "VeskLoopManagement/catalog/LCLibraryFolders.h"
#include "VeskLoopManagement/catalog/LCLibraryScan.h"
#include "VeskLoopManagement/catalog/LCLibraryVersions.h"
#include "VeskLoopManagement/catalog/LCLoopFile.h"
#include "VeskLoopManagement/catalog/LCLoopQuery.h"
#include "VeskLoopManagement/catalog/LCLoopResult.h"
#include "VeskLoopManagement/catalog/LCNearNames.h"
