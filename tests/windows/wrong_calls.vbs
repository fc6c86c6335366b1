' Calls that cannot be served; a script ends at the first that raises an error.
' wrong_calls.vbs CONNECTION LOGDIRECTORY
Set copy = CreateObject("iQRXyQRXSync.clsDataCopy")
copy.StartDataCopy WScript.Arguments(0), "", 2, 1, WScript.Arguments(1), "ERP", "oracle"
WScript.Echo "StartDataCopy"
copy.CopyAllTables WScript.Arguments(0), "", 1, WScript.Arguments(1), "ERP", "oracle"
WScript.Echo "CopyAllTables"
copy.WriteCalcode copy
WScript.Echo "WriteCalcode"
Set copy = Nothing
WScript.Echo "done"
