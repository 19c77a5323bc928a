// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/channel.h"
#include "calc/attenuation.h"

int main()
{
    openchannels();
    dialogue();
    flushoutput();
    return 0;
}
