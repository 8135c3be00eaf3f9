# The commands that print the objects of main in PrintedObjects.cpp.
set pagination off
set width 0
set host-charset UTF-8
break Stop
continue
up
info locals
print *message.mObject
