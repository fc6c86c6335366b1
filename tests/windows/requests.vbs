' Requests for several tables through one object, so that one process serves them all.
' requests.vbs CONNECTION LOGDIRECTORY RUNPARAMETER PLATFORM METHOD TABLEID [TABLEID ...]
Set handler = CreateObject("iQRXyQRXSync.clsDataCopyHandler")
For i = 5 To WScript.Arguments.Count - 1
    handler.HandleDataCopy WScript.Arguments(0), "", CInt(WScript.Arguments(i)), CInt(WScript.Arguments(4)), _
        WScript.Arguments(1), WScript.Arguments(2), CLng(WScript.Arguments(3))
Next
Set handler = Nothing
WScript.Echo "handled"
