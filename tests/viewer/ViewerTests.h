// The viewer's Qt test classes; TestMain.cpp runs them all.
#pragma once

#include <QObject>

#include "app/viewer/SlideShow.h"

Q_DECLARE_METATYPE(vivark::viewer::Slide)

class ViewerLogicTest : public QObject {
    Q_OBJECT
  private slots:
    void fitZoom_data();
    void fitZoom();
    void zoomSteps();
    void zoomAroundPointer();
    void sequenceOrders();
    void sequenceSteps();
    void slideShowList();
    void slideShowTiming();
};

class ViewerWindowTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase();
    void rendersDecodedPixels_data();
    void rendersDecodedPixels();
    void animationMatchesQt();
    void loaderSupersedesAndReports();
    void windowStepsPagesAndFiles();
    void deleteGoesToTrash();
};
