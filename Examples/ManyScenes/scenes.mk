# SPDX-License-Identifier: LGPL-2.1-or-later
# Bakes every .glb file of a folder. make decides by time stamps what is out of date, and OPTIONS go to ktbake:
#
#     make -f Examples/ManyScenes/scenes.mk SCENES=scenes BAKED=baked OPTIONS='--shadow-quality 3' -j 2 -k
SCENES ?= scenes
BAKED ?= baked
OPTIONS ?=
KTBAKE ?= ktbake

inputs := $(wildcard $(SCENES)/*.glb)
outputs := $(inputs:$(SCENES)/%.glb=$(BAKED)/%-baked.glb)

all: $(outputs)

$(BAKED)/%-baked.glb: $(SCENES)/%.glb
	@mkdir -p $(BAKED)
	$(KTBAKE) $< --output $@ --quiet $(OPTIONS)

.PHONY: all
