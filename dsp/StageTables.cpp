// The stage tables. Each is defined with its length left to its entries and
// only then declared with its cascade's section count (StageTables.h, from
// dsp/ChainShape.h), so a table with another number of entries does not
// compile. Tables are in the order of veltrax::chain::Cascade; type codes are
// SectionType.
#include <cstdint>

#include "dsp/FilterDesign.h"

// One column per stage.
// clang-format off
//                                        stage 0      stage 1      stage 2     stage 3
extern const double VELTRAXpreFrq[]    = {20000.0,     20000.0,     10.0,       120.0};
extern const double VELTRAXpreQ[]      = {0.95,        1.0,         1.0,        1.4};
extern const double VELTRAXpreGain[]   = {-27.5,       -27.0,       0.0,        3.0};
extern const int32_t VELTRAXpreNum[]   = {kHighShelf1, kHighShelf1, kHighPass1, kPeaking};

extern const double VELTRAXpostFrq[]   = {20000.0,     21000.0};
extern const double VELTRAXpostQ[]     = {1.0,         1.0};
extern const double VELTRAXpostGain[]  = {0.0,         -3.0};
extern const int32_t VELTRAXpostNum[]  = {kLowPass1,   kHighShelf1};

extern const double VELTRAXpowerFrq[]  = {22000.0,     50.0,        1550.0,     12000.0};
extern const double VELTRAXpowerQ[]    = {1.0,         1.0,         0.8,        1.0};
extern const double VELTRAXpowerGain[] = {-27.0,       0.0,         -4.5,       23.0};
extern const int32_t VELTRAXpowerNum[] = {kHighShelf1, kHighPass1,  kPeaking,   kHighShelf1};

//                                         0         1          2           3          4         5         6         7
extern const double VELTRAXreviseFrq[]  = {1500.0,   265.0,     80.0,       5000.0,    1000.0,   2000.0,   8000.0,   10000.0};
extern const double VELTRAXreviseQ[]    = {0.5,      1.0,       1.0,        1.0,       1.4,      1.4,      1.4,      1.0};
extern const double VELTRAXreviseGain[] = {5.0,      0.0,       0.0,        0.0,       3.0,      -6.0,     6.0,      0.0};
extern const int32_t VELTRAXreviseNum[] = {kPeaking, kLowPass1, kHighPass1, kLowPass1, kPeaking, kPeaking, kPeaking, kLowPass1};
// clang-format on

#include "dsp/StageTables.h"  // after the definitions: see above

const StageTable kStageTables[veltrax::chain::kCascadeCount] = {
    {kPreSections, VELTRAXpreFrq, VELTRAXpreQ, VELTRAXpreGain, VELTRAXpreNum},
    {kPostSections, VELTRAXpostFrq, VELTRAXpostQ, VELTRAXpostGain, VELTRAXpostNum},
    {kPowerSections, VELTRAXpowerFrq, VELTRAXpowerQ, VELTRAXpowerGain, VELTRAXpowerNum},
    {kReviseSections, VELTRAXreviseFrq, VELTRAXreviseQ, VELTRAXreviseGain, VELTRAXreviseNum},
};
