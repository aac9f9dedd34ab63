heading "pluginhost: a plug-in found, loaded and called"
show pluginhost "$root/build/demo/bin/plugins" shout "loaded at run time" | sed "s|$root/||g"
