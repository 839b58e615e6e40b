#pragma once

// The host's exported functions in binding order: X(result, name, parameters).
// Functions that the plugin never calls are bound all the same, so that the table is the host's
// whole interface; their signatures do not matter here and are written as void().
// clang-format off
#define MIREL_FOR_EACH_HOST_FUNCTION(X) \
  X(void, ztGetVersionOfCorvanaZT, (int*, int*, int*)) \
  X(void, ztGetCorvanaZTPath, ()) \
  X(void, ztGetPluginsPath, ()) \
  X(void, ztShowLogPane, ()) \
  X(void, ztShowLogTab, ()) \
  X(void, ztLogText, (const char*)) \
  X(void, ztMessageBox, (const char*)) \
  X(void, ztYesNoMessageBox, ()) \
  X(void, ztGetIntegerInput, ()) \
  X(void, ztGetFloatInput, ()) \
  X(void, ztGetTextInput, ()) \
  X(void, ztGetOpenFileName, (const char*, const char*, const char*, char*)) \
  X(void, ztGetSaveFileName, ()) \
  X(void, ztUpdateActiveWindow, ()) \
  X(void, ztShowBusyCursor, ()) \
  X(void, ztStopBusyCursor, ()) \
  X(void, ztCloseAllPlots, ()) \
  X(void, ztPlotPoints, ()) \
  X(void, ztAddPointsToPlot, ()) \
  X(void, ztPlotLine, ()) \
  X(void, ztAddLineToPlot, ()) \
  X(void, ztPlotBars, ()) \
  X(void, ztAddBarsToPlot, ()) \
  X(void, ztShowPlotAtPosition, ()) \
  X(void, ztResizePlot, ()) \
  X(void, ztSetBarPlotXAxisCategories, ()) \
  X(void, ztSetPlotXAxisRange, ()) \
  X(void, ztSetPlotYAxisRange, ()) \
  X(void, ztSetPlotXAxisTitle, ()) \
  X(void, ztSetPlotYAxisTitle, ()) \
  X(void, ztSetPlotXAxisProperties, ()) \
  X(void, ztSetPlotYAxisProperties, ()) \
  X(void, ztSetPlotTitle, ()) \
  X(void, ztSetPlotMarkerSizeAndColor, ()) \
  X(void, ztSetPlotLineSizeAndColor, ()) \
  X(void, ztSetPlotBarColors, ()) \
  X(void, ztSetPlotFontSizes, ()) \
  X(void, ztShowPlotLegend, ()) \
  X(void, ztSetPlotColorTheme, ()) \
  X(void, ztGetNumberOfDocsInWorkspace, ()) \
  X(void, ztGetDocumentType, ()) \
  X(void, ztGetDocumentTypeName, ()) \
  X(void, ztGetIDOfCurrentDocument, ()) \
  X(void, ztSetAsCurrentDocument, ()) \
  X(void, ztCalculateIAMatrix, ()) \
  X(void, ztGetTRFParametersFromVolumeToolsDlg, ()) \
  X(void, ztGetHeaderOfCurrentFMR, ()) \
  X(void, ztSetHeaderOfCurrentFMR, ()) \
  X(void, ztGetSTCFloatDataOfCurrentFMR, ()) \
  X(void, ztGetSTCIntDataOfCurrentFMR, ()) \
  X(void, ztGetSTCDataOfCurrentFMR, ()) \
  X(void, ztSaveFMR, ()) \
  X(void, ztSaveFMRAndSTC, ()) \
  X(void, ztGetScannerPositionHeaderOfCurrentFMR, ()) \
  X(void, ztSetScannerPositionHeaderOfCurrentFMR, ()) \
  X(void, ztGetHeaderOfCurrentDMR, ()) \
  X(void, ztSetHeaderOfCurrentDMR, ()) \
  X(void, ztGetDWIFloatDataOfCurrentDMR, ()) \
  X(void, ztGetDWIIntDataOfCurrentDMR, ()) \
  X(void, ztGetDWIDataOfCurrentDMR, ()) \
  X(void, ztConvertDWIFormatOfCurrentDMR, ()) \
  X(void, ztSaveDMR, ()) \
  X(void, ztSaveDMRAndDWI, ()) \
  X(float**, ztGetMAPOfCurrentFMR, (void*)) \
  X(void, ztSetMAPParametersOfCurrentFMR, (const void*)) \
  X(void, ztDeleteMAPsOfCurrentFMR, ()) \
  X(void, ztLoadMAPsToCurrentFMR, (const char*)) \
  X(void, ztSaveMAPsOfCurrentFMR, (const char*)) \
  X(void, ztCreateMAPForCurrentFMR, ()) \
  X(void, ztGetCurrentVMR, ()) \
  X(void, ztGetMainHeaderOfCurrentVMR, ()) \
  X(void, ztSetMainHeaderOfCurrentVMR, ()) \
  X(void, ztGetScannerPositionHeaderOfCurrentVMR, ()) \
  X(void, ztSetScannerPositionHeaderOfCurrentVMR, ()) \
  X(void, ztGetPastTransformationsHeaderOfCurrentVMR, ()) \
  X(void, ztSetPastTransformationsHeaderOfCurrentVMR, ()) \
  X(void, ztReframeCurrentVMR, ()) \
  X(void, ztGetCrossPositionOfCurrentVMR, ()) \
  X(void, ztGetNRVMPsOfCurrentVMR, ()) \
  X(void, ztGetNRVMPOfCurrentVMR, ()) \
  X(void, ztSetNRVMPParametersOfCurrentVMR, ()) \
  X(void, ztLoadNRVMPsToCurrentVMR, ()) \
  X(void, ztAddNRVMPsToCurrentVMR, ()) \
  X(void, ztSaveNRVMPsOfCurrentVMR, ()) \
  X(void, ztCreateNRVMPsForCurrentVMR, ()) \
  X(void, ztDeleteNRVMPsOfCurrentVMR, ()) \
  X(void, ztDeleteNRVMPMap, ()) \
  X(void, ztSetNRVMPsParamsDisplayRange, ()) \
  X(void, ztGetARVMPsOfCurrentVMR, ()) \
  X(void, ztGetARVMPOfCurrentVMR, ()) \
  X(void, ztSetARVMPParametersOfCurrentVMR, ()) \
  X(void, ztLoadARVMPsToCurrentVMR, ()) \
  X(void, ztSaveARVMPsOfCurrentVMR, ()) \
  X(void, ztCreateARVMPsForCurrentVMR, ()) \
  X(void, ztDeleteARVMPsOfCurrentVMR, ()) \
  X(void, ztLinkVTCToCurrentVMR, ()) \
  X(void, ztCreateVTCForCurrentVMR, ()) \
  X(void, ztGetHeaderOfVTCOfCurrentVMR, ()) \
  X(void, ztSetHeaderOfVTCOfCurrentVMR, ()) \
  X(void, ztGetVTCOfCurrentVMR, ()) \
  X(void, ztGetVTCFloatDataOfCurrentVMR, ()) \
  X(void, ztGetVTCIntDataOfCurrentVMR, ()) \
  X(void, ztSetVTCParametersOfCurrentVMR, ()) \
  X(void, ztSaveVTCOfCurrentVMR, ()) \
  X(void, ztClearMultiVTCAnalysis, ()) \
  X(void, ztAddVTCRefForMultiVTCAnalysis, ()) \
  X(void, ztGetVoxelTimeCourseOfVTC, ()) \
  X(void, ztGetVoxelTimeCourseOfVTCs, ()) \
  X(void, ztGetVoxelCoordsTimeCourseOfVTC, ()) \
  X(void, ztGetVoxelCoordsTimeCourseOfVTCs, ()) \
  X(void, ztGetGLMOfCurrentVMR, ()) \
  X(void, ztGetGLMContrastsOfCurrentVMR, ()) \
  X(void, ztLoadMaskToCurrentVMR, ()) \
  X(void, ztGetMaskOfCurrentVMR, ()) \
  X(void, ztGetScene, ()) \
  X(void, ztLoadSRF, ()) \
  X(void, ztAddSRF, ()) \
  X(void, ztRemoveCurrentSRF, ()) \
  X(void, ztGetCurrentSRF, ()) \
  X(void, ztReleaseSRFAccess, ()) \
  X(void, ztSaveCurrentSRF, ()) \
  X(void, ztSetCurrentSRF, ()) \
  X(void, ztLinkMTCToCurrentSRF, ()) \
  X(void, ztGetMTCOfCurrentSRF, ()) \
  X(void, ztSetMTCParametersOfCurrentSRF, ()) \
  X(void, ztCreateMTCForCurrentSRF, ()) \
  X(void, ztSaveMTCOfCurrentSRF, ()) \
  X(void, ztClearMultiMTCRefsOfCurrentSRF, ()) \
  X(void, ztAddMultiMTCRefToCurrentSRF, ()) \
  X(void, ztGetVertexTimeCourseOfMTC, ()) \
  X(void, ztGetVertexTimeCourseOfAllMTCs, ()) \
  X(void, ztGetSMPsOfCurrentSRF, ()) \
  X(void, ztGetSMPOfCurrentSRF, ()) \
  X(void, ztSetSMPParametersOfCurrentSRF, ()) \
  X(void, ztLoadSMPsToCurrentSRF, ()) \
  X(void, ztSaveSMPsOfCurrentSRF, ()) \
  X(void, ztCreateSMPForCurrentSRF, ()) \
  X(void, ztDeleteSMPsOfCurrentSRF, ()) \
  X(void, ztOverlaySMPsOnSRF, ()) \
  X(void, ztGetSSMOfCurrentSRF, ()) \
  X(void, ztLoadSSMToCurrentSRF, ()) \
  X(void, ztSaveSSMOfCurrentSRF, ()) \
  X(void, ztCreateSSMForCurrentSRF, ()) \
  X(void, ztDeleteSSMOfCurrentSRF, ()) \
  X(void, ztClearProtocol, ()) \
  X(void, ztLoadProtocol, ()) \
  X(void, ztSaveProtocol, ()) \
  X(void, ztGetProtocol, ()) \
  X(void, ztSetProtocol, ()) \
  X(void, ztGetProtocolCondition, ()) \
  X(void, ztAddProtocolCondition, ()) \
  X(void, ztAddProtocolConditionInterval, ()) \
  X(void, ztClearDesignMatrix, ()) \
  X(void, ztAddPredictor, ()) \
  X(void, ztSetPredictorValuesFromCondition, ()) \
  X(void, ztSetPredictorValuesFromConditionName, ()) \
  X(void, ztApplyTwoGammaHRFToPredictor, ()) \
  X(void, ztApplyTwoGammaHRFToPredictorWithName, ()) \
  X(void, ztApplyBoyntonHRFToPredictor, ()) \
  X(void, ztApplyBoyntonHRFToPredictorWithName, ()) \
  X(void, ztGetPredictor, ()) \
  X(void, ztGetPredictorByName, ()) \
  X(void, ztLoadSingleStudyGLMDesignMatrix, ()) \
  X(void, ztSaveSingleStudyGLMDesignMatrix, ()) \
  X(void, ztLoadVOIs, ()) \
  X(void, ztSaveVOIs, ()) \
  X(void, ztGetVOIs, ()) \
  X(void, ztGetVOI, ()) \
  X(void, ztLoadPOIs, ()) \
  X(void, ztSavePOIs, ()) \
  X(void, ztGetPOIs, ()) \
  X(void, ztGetPOI, ()) \
  X(void, ztGetStringParameter, (const char*, char*)) \
  X(int, ztGetIntParameter, (const char*)) \
  X(void, ztGetFloatParameter, ()) \
  X(void, ztSetStringParameter, (const char*, const char*)) \
  X(void, ztSetIntParameter, (const char*, int)) \
  X(void, ztSetFloatParameter, ()) \
  X(void, ztGetDlgStringParameter, ()) \
  X(void, ztGetDlgIntegerParameter, ()) \
  X(void, ztGetDlgFloatParameter, ()) \
  X(void, ztSetDlgStringOutputParameter, ()) \
  X(void, ztSetDlgIntegerOutputParameter, ()) \
  X(void, ztSetDlgFloatOutputParameter, ()) \
  X(void, ztLaunchICADialog, ())
// clang-format on
