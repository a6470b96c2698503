#pragma once
// The steps in which the livery store is filled, for store.cpp. Worker, before the main cycle.

#include "liveries/liveries.h"

bool lf_scanInstalledLiveries(); // into the file; false: stopped. Throws orvo::UserErrorException
void lf_sortLiveries(
    std::vector<Livery>& liveries); // by airline, model, title, and then whatever tells them apart
void lf_buildIndex(std::vector<Livery> liveries, bool withRegcodeFiles); // the whole store; shows the count
void lf_buildSimilarMaps();                                              // of the models that have liveries
void lf_fillModelPools();                                                // likewise
void lf_reportGenericModels();
void lf_switchCategories(); // the boxes alone, for a run that builds nothing
void lf_reportCategories(); // switches the traffic off for which there are no liveries
