// RowsMain.cpp - runs the rows of all layers in one process.

#include "Rows.h"

int main(int argumentCount, char** arguments)
{
    const rows::SecondThread second;
    rows::AddPointerRows();
    rows::AddStringRows();
    rows::AddNumberRows();
    rows::AddWidthRows();
    rows::AddConversionRows();
    rows::AddVariantRows();
    rows::AddArrayRows();
    rows::AddNotificationRows();
    rows::AddQueueRows();
    rows::AddFloorRows();
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
