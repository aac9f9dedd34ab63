heading "pluginhost: a plug-in found, loaded and called"
show pluginhost "$builds/demo/bin/plugins" shout "loaded at run time" | sed "s|$builds/||g"
