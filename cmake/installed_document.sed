# Makes of a document of the source tree the one that is installed: leaves out
# what stands between these marks, and lets links point to where documents are.
/^<!-- source tree -->$/,/^<!-- anywhere -->$/d
s#](doc/#](#g
s#](\.\./doc/#](../#g
s#](\.\./examples/#](examples/#g
