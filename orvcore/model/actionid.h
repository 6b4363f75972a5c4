#pragma once

// Generic actions.
enum OrvActionId : int {
    OrvActionSearchFlickr = 0,
    OrvActionSearchGoogle = 1,
    OrvActionCameraForensics = 2,
    OrvActionBatchProcessing = 3,
    OrvActionShowLocation = 4,
    OrvActionBatchAnalysis = 5,
    OrvActionBatchComparison = 6,
    OrvActionDownload = 7,
    OrvActionWebSearch = 8,
    OrvActionRunAll = 9,  // every filter in use, one after the other; no parameters
    // Over a folder, for one filter's page; see foldertools.h. (10 and 11 were never used.)
    OrvActionMakeFingerprint = 12,
    OrvActionIdentifyCameras = 13,
    OrvActionCollectSignatures = 14,
    // Every filter's known answers; keeps the outcome. No parameters; results in two texts, "summary" in a sentence and "answers" line by
    // line.
    OrvActionSelfTest = 15,
};
