// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads how pictures show a material of the scene graph.
#include "ktPreviewMaterial.h"

#include "ktTextureSample.h"
#include "OSGUberMaterial.h"
#include "OSGUEnvironmentMaterial.h"
#include "OSGUEnvironmentSwitchMaterial.h"

ktPreviewMaterial ktReadPreviewMaterial(const osg::MaterialPtr& material) {
    ktPreviewMaterial look;
    const osg::UberMaterialPtr uber = osg::UberMaterialPtr::dcast(material);
    if (uber != osg::NullFC) {
        look.isDoubleSided = uber->getDoubleSided();
        look.alphaCutoff = uber->getAlphaCutoff();
        if (uber->isTransparent())
            look.alpha = ktPreviewMaterial::Alpha::Blend;
        else if (uber->getAlphaMode() == osg::UberMaterial::Mask)
            look.alpha = ktPreviewMaterial::Alpha::Mask;
        if (uber->getTexture().image)
            look.texture = [texture = uber->getTexture()](float u, float v) { return ktSampleTexture(texture, u, v); };
    } else if (material != osg::NullFC && material->isTransparent())
        look.alpha = ktPreviewMaterial::Alpha::Blend;
    return look;
}

bool ktIsEnvironment(const osg::MaterialPtr& material) {
    return osg::UEnvironmentMaterialPtr::dcast(material) != osg::NullFC ||
           osg::UEnvironmentSwitchMaterialPtr::dcast(material) != osg::NullFC;
}
