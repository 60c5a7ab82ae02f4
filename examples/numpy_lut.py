#!/usr/bin/env python3
"""Stores a preset made of a CDL and a cube from numpy, shows it on channel 1, and compares what comes back."""
import lutc
import numpy

levels = numpy.linspace(0, 1, 17)
red, green, blue = numpy.meshgrid(levels, levels, levels, indexing="ij")
warm = numpy.stack([red**0.9, green, 0.8 * blue], axis=-1)
grade = [lutc.Cdl(slope=(1.1, 1.0, 0.9), saturation=0.9, slot=1), lutc.Lut3D.from_array(warm, slot=1)]

lutc.send_preset("warm", grade, combination=1)
lutc.set_preset("warm", channel=1)
fetched = lutc.recv_preset("warm")
print("channel 1 shows", lutc.get_preset(channel=1).name)
print("what came back", "is" if fetched.components == grade else "is not", "what was sent")
