#pragma once

#include <string>

// Each draws the pictures of one page of the guide into a folder.

void drawCalibration(const std::string& folder);
void drawFitting(const std::string& folder);
void drawFourier(const std::string& folder);
void drawGeometry(const std::string& folder);
void drawMasks(const std::string& folder);
