#include "dsp/StageTables.h"

//                                   stage 0   stage 1   stage 2   stage 3
const double VELTRAXpreFrq[4]   = {20000.0,  20000.0,  10.0,     120.0};
const double VELTRAXpreQ[4]     = {0.95,     1.0,      1.0,      1.4};
const double VELTRAXpreGain[4]  = {-27.5,    -27.0,    0.0,      3.0};
const int32_t VELTRAXpreNum[4]  = {12,       12,       1,        10};

const double VELTRAXpostFrq[2]  = {20000.0,  21000.0};
const double VELTRAXpostQ[2]    = {1.0,      1.0};
const double VELTRAXpostGain[2] = {0.0,      -3.0};
const int32_t VELTRAXpostNum[2] = {0,        12};

const double VELTRAXpowerFrq[4]  = {22000.0, 50.0,     1550.0,   12000.0};
const double VELTRAXpowerQ[4]    = {1.0,     1.0,      0.8,      1.0};
const double VELTRAXpowerGain[4] = {-27.0,   0.0,      -4.5,     23.0};
const int32_t VELTRAXpowerNum[4] = {12,      1,        10,       12};

//                                    0       1      2      3       4       5       6       7
const double VELTRAXreviseFrq[8]  = {1500.0, 265.0, 80.0,  5000.0, 1000.0, 2000.0, 8000.0, 10000.0};
const double VELTRAXreviseQ[8]    = {0.5,    1.0,   1.0,   1.0,    1.4,    1.4,    1.4,    1.0};
const double VELTRAXreviseGain[8] = {5.0,    0.0,   0.0,   0.0,    3.0,    -6.0,   6.0,    0.0};
const int32_t VELTRAXreviseNum[8] = {10,     0,     1,     0,      10,     10,     10,     0};

const StageTable kStageTables[4] = {
    {4, VELTRAXpreFrq, VELTRAXpreQ, VELTRAXpreGain, VELTRAXpreNum},
    {2, VELTRAXpostFrq, VELTRAXpostQ, VELTRAXpostGain, VELTRAXpostNum},
    {4, VELTRAXpowerFrq, VELTRAXpowerQ, VELTRAXpowerGain, VELTRAXpowerNum},
    {8, VELTRAXreviseFrq, VELTRAXreviseQ, VELTRAXreviseGain, VELTRAXreviseNum},
};
