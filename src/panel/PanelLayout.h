// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

#include <map>
#include <string>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QWidget;

namespace vorrik {
class Lamp;
class Stepper;
}  // namespace vorrik

// How the panel's window and its one column of controls are made and laid out.
namespace vorrik::ui {

// The panel's controls, created once and never replaced; the window owns them.
struct PanelWidgets {
  QLabel* status = nullptr;
  Lamp* dot = nullptr;
  QPushButton* startBtn = nullptr;
  QComboBox* presetPop = nullptr;
  QLineEdit* customMs = nullptr;
  QComboBox* typePop = nullptr;
  Stepper* burstStep = nullptr;
  QLabel* burstLabel = nullptr;
  QCheckBox* jitterCheck = nullptr;
  QLineEdit* maxClicks = nullptr;
  QLabel* pointsLabel = nullptr;
  QPushButton* addPointBtn = nullptr;
  QPushButton* clearPointsBtn = nullptr;
  QLabel* stats = nullptr;
  QComboBox* langPop = nullptr;
  // The five section headers by catalogue key; filled by layOut.
  std::map<std::string, QLabel*> sectionLabels;
};

// Creates the controls as children of window, with their first texts in the current language.
PanelWidgets makeWidgets(QWidget* window);

// Makes window a floating utility panel above other windows that never takes the keyboard by
// itself, in the panel's colours and font.
void styleWindow(QWidget* window);

// Puts the controls into one fixed-size column of window, with the section headers, the
// pop-ups' items and every control's size, font and colour.
void layOut(QWidget* window, PanelWidgets& widgets);

// Replaces a pop-up's items and keeps its selection (an empty one becomes the first item)
// without running its action.
void refill(QComboBox* popUp, const QStringList& items);

}  // namespace vorrik::ui
